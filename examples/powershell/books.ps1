# Keeps a list in a file, in PowerShell: 64-bit PowerShell needs the 64-bit component. PowerShell's own
# objects have no names for late binding, so the records are the component's. Not run by the tests.

$ErrorActionPreference = 'Stop'
$missing = [Type]::Missing

function New-Block([string] $name, [string] $data) {
    $block = New-Object -ComObject Brindlex.clsTextData
    $block.Name = $name
    $block.DataString = $data
    $block
}

$books = New-Object -ComObject Brindlex.clsCollection
$saver = New-Object -ComObject Brindlex.clsCollectionSaveRestore
$files = New-Object -ComObject Brindlex.clsAppFiles
$path = Join-Path $env:TEMP 'powershell books.txt'

$books.Add((New-Block 'Moby Dick' '12.5'), 'Moby Dick')
$books.Add((New-Block 'Emma' '9'), 'Emma')
if (-not $files.SaveTextFile($path, $saver.AsDelimitedFromCollection($books), $false)) { exit 1 }

$creator = New-Object -ComObject Brindlex.clsCreateTextData
$restored = $saver.AsDelimitedToCollection($files.ReadTextFile($path, $false), $creator, $missing, $missing, 'Name')
Remove-Item $path
foreach ($block in $restored) { "$($block.Name) costs $($block.DataString)" }
$restored.Item('EMMA').DataString

$bases = New-Object -ComObject Brindlex.clsBases
"2026 in base 16: $($bases.ConvertDec2Base(2026, 16))"    # 7EA

try { $restored.Item('no such book') | Out-Null }
catch { "Error $($_.Exception.HResult -band 0xFFFF): $($_.Exception.Message)" }    # Error 5
'books: done'

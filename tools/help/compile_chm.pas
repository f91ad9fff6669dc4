{ Compiles a folder of pages into a Windows help file, with the units of Free Pascal that chmcmd is made of.

  usage: compile_chm FOLDER LIST CHM TITLE

  Each line of LIST is "file NAME", "context NUMBER TARGET", where TARGET is a page with or without a section, or
  the name of the table of contents, "contents NAME", or of the index, "index NAME". chmcmd itself writes
  absolute paths as the targets of contexts, so no viewer would find them. }
program compile_chm;

{$mode objfpc}{$H+}

uses
  {$ifdef unix}cthreads, cwstring,{$endif} Classes, SysUtils, chmwriter;

type
  TCompiler = class
  private
    FFolder: string;
    FContents, FIndex: TMemoryStream;
    function Loaded(const Name: string): TMemoryStream;
    function GetData(const DataName: string; out PathInChm: string; out FileName: string;
      var Stream: TStream): Boolean;
    procedure LastFileAdded(Sender: TObject);
    procedure ReadLine(Writer: TChmWriter; const Line: string);
  public
    procedure Compile(const Folder, List, Target, Title: string);
  end;

function TCompiler.Loaded(const Name: string): TMemoryStream;
begin
  Result := TMemoryStream.Create;
  Result.LoadFromFile(FFolder + Name);
end;

function TCompiler.GetData(const DataName: string; out PathInChm: string; out FileName: string;
  var Stream: TStream): Boolean;
begin
  TMemoryStream(Stream).LoadFromFile(FFolder + DataName);
  FileName := ExtractFileName(DataName);
  PathInChm := '/' + ExtractFilePath(DataName);
  Result := False;
end;

{ The index stays a list of its own. The binary form, which the units can add, has bytes in it that they never
  set, so no two files would be the same; viewers read either. }
procedure TCompiler.LastFileAdded(Sender: TObject);
begin
  FIndex.Position := 0;
  TChmWriter(Sender).AppendIndex(FIndex);
  FContents.Position := 0;
  TChmWriter(Sender).AppendTOC(FContents);
end;

procedure TCompiler.ReadLine(Writer: TChmWriter; const Line: string);
var
  Words: TStringArray;
begin
  Words := Line.Split([' ']);
  case Words[0] of
    'file': Writer.FilesToCompress.Add(Words[1]);
    'context': Writer.AddContext(StrToInt(Words[1]), Words[2]);
    'contents':
      begin
        Writer.TocName := Words[1];
        FContents := Loaded(Words[1]);
      end;
    'index':
      begin
        Writer.IndexName := Words[1];
        FIndex := Loaded(Words[1]);
      end;
  else
    raise Exception.Create('cannot read ' + Line);
  end;
end;

procedure TCompiler.Compile(const Folder, List, Target, Title: string);
var
  Output: TFileStream;
  Writer: TChmWriter;
  Lines: TStringList;
  Line: string;
begin
  FFolder := IncludeTrailingPathDelimiter(Folder);
  Output := TFileStream.Create(Target, fmCreate);
  Writer := TChmWriter.Create(Output, False);
  Writer.OnGetFileData := @GetData;
  Writer.OnLastFile := @LastFileAdded;
  Writer.Title := Title;
  Writer.DefaultPage := 'index.html';
  Writer.LocaleID := $409;
  Writer.FullTextSearch := True;
  Writer.HasBinaryIndex := False;
  Lines := TStringList.Create;
  Lines.LoadFromFile(List);
  for Line in Lines do
    ReadLine(Writer, Line);
  { One thread: the order in which several end must not show in the file. }
  Writer.Cores := 1;
  Writer.Execute;
  Lines.Free;
  Writer.Free;
  Output.Free;
end;

var
  Compiler: TCompiler;
begin
  if ParamCount <> 4 then
  begin
    WriteLn(StdErr, 'usage: compile_chm FOLDER LIST CHM TITLE');
    Halt(2);
  end;
  Compiler := TCompiler.Create;
  Compiler.Compile(ParamStr(1), ParamStr(2), ParamStr(3), ParamStr(4));
  Compiler.Free;
end.

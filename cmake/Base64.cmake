# brindlex_sha256_base64(FILE RESULT): the SHA-256 of a file in base64, as a page's
# Content-Security-Policy names a script.
function(brindlex_sha256_base64 file result)
  set(alphabet ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
  file(SHA256 ${file} digits)
  # 32 bytes and one of padding: 11 groups of 3 bytes, 4 characters each.
  string(APPEND digits 00)
  set(text "")
  foreach(group RANGE 10)
    math(EXPR start "6 * ${group}")
    string(SUBSTRING ${digits} ${start} 6 bytes)
    foreach(shift 18 12 6 0)
      math(EXPR index "(0x${bytes} >> ${shift}) & 63")
      string(SUBSTRING ${alphabet} ${index} 1 character)
      string(APPEND text ${character})
    endforeach()
  endforeach()
  # The last character stands for the padding alone.
  string(SUBSTRING ${text} 0 43 text)
  set(${result} "${text}=" PARENT_SCOPE)
endfunction()

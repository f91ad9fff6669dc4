# Compiles interface descriptions with widl.

set(libwine_dev ${CMAKE_SOURCE_DIR}/build/tools/libwine-dev CACHE PATH
  "Where the package libwine-dev is unpacked, for its oaidl.idl")
set(wine_tlb /usr/lib/i386-linux-gnu/wine/i386-windows CACHE PATH "Where Wine keeps stdole2.tlb")

find_package(Python3 REQUIRED COMPONENTS Interpreter)

# Makes, of <name>.idl, in `folder`: the header under the name `header`, the GUIDs as <name>_i.c and
# the type library as <name>.tlb, with help contexts if the library names a help file.
function(brindlex_compile_idl idl folder header)
  set(widl Python3::Interpreter ${CMAKE_SOURCE_DIR}/tools/generate/widl.py ${BRINDLEX_WIDL} --nostdinc --win32
    -I ${libwine_dev}/usr/include/wine/wine/windows -L ${wine_tlb})
  get_filename_component(name ${idl} NAME_WE)
  get_filename_component(header_folder ${folder}/${header} DIRECTORY)
  file(MAKE_DIRECTORY ${header_folder})
  set(made ${folder}/${header} ${folder}/${name}_i.c ${folder}/${name}.tlb)
  add_custom_command(
    OUTPUT ${made}
    COMMAND ${widl} -h -o ${folder}/${header} ${idl}
    COMMAND ${widl} -u -o ${folder}/${name}_i.c ${idl}
    COMMAND Python3::Interpreter -B ${CMAKE_SOURCE_DIR}/tools/generate/help_contexts.py
      ${idl} ${folder}/${name}.help.idl
    COMMAND ${widl} -t -o ${folder}/${name}.tlb ${folder}/${name}.help.idl
    COMMAND Python3::Interpreter ${CMAKE_SOURCE_DIR}/tools/generate/strip_typelib_time.py
      ${folder}/${name}.tlb
    COMMAND Python3::Interpreter ${CMAKE_SOURCE_DIR}/tools/generate/typelib_tolerance.py
      ${idl} ${folder}/${name}.tlb
    DEPENDS ${idl} ${CMAKE_SOURCE_DIR}/tools/generate/widl.py ${CMAKE_SOURCE_DIR}/tools/generate/strip_typelib_time.py
      ${CMAKE_SOURCE_DIR}/tools/generate/typelib_tolerance.py
      ${CMAKE_SOURCE_DIR}/tools/generate/help_contexts.py ${CMAKE_SOURCE_DIR}/tools/generate/idl.py
    COMMENT "Compiling ${name}.idl"
    VERBATIM)
endfunction()

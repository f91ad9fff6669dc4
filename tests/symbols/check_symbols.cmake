# Fails when a library refers to a logarithm, power or exponential of a run time: their last bits
# differ between run times and with the mode of the floating-point unit.
#
# NM       the lister of symbols for the libraries' format
# LIBRARY  what must not refer to any
# CONTROL  what does refer to each of CONTROL_NAMES, to show that the check can see them

function(find_forbidden library result)
  execute_process(COMMAND ${NM} -u ${library} OUTPUT_VARIABLE listing RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "cannot list the symbols of ${library}")
  endif()
  string(REGEX MATCHALL
    "[ \t]_*(imp_)?_*(ieee754_)?(log|log2|log10|log1p|pow|powi|powidf2|exp|exp2|exp10|expm1)(f|l|_finite)?[\r\n]"
    found "${listing}\n")
  list(TRANSFORM found STRIP)
  set(${result} ${found} PARENT_SCOPE)
endfunction()

find_forbidden(${CONTROL} control)
foreach(name ${CONTROL_NAMES})
  if(NOT "${control}" MATCHES "(^|;)_*${name}(;|$)")
    message(FATAL_ERROR "the check does not see ${name} in ${CONTROL}")
  endif()
endforeach()

find_forbidden(${LIBRARY} found)
if(found)
  message(FATAL_ERROR "${LIBRARY} refers to ${found}")
endif()
message(STATUS "no logarithm or power of a run time in ${LIBRARY}")

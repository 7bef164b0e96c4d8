# Runs the quillon tool and compares its standard output with a committed
# file: cmake -DQUILLON=exe [-DEMULATOR=wine] -DARGS=a|b|c -DEXPECTED=file
# -DACTUAL=file -P golden.cmake
# Line ends compare as LF (the Windows build prints CR LF), and today's UTC
# date (the date a GPS record's time of day is given) reads MM/DD/YYYY.
# To accept a new output, copy ACTUAL over EXPECTED.
string(REPLACE "|" ";" args "${ARGS}")
string(REPLACE "|" " " shown "${ARGS}")
execute_process(COMMAND ${EMULATOR} ${QUILLON} ${args}
                OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "quillon ${shown} failed (${rc}): ${err}")
endif()
string(REPLACE "\r\n" "\n" out "${out}")
string(TIMESTAMP today "%m/%d/%Y" UTC)
string(REPLACE "${today}" "MM/DD/YYYY" out "${out}")
file(WRITE "${ACTUAL}" "${out}")
file(READ "${EXPECTED}" expected)
if(NOT out STREQUAL expected)
  message(FATAL_ERROR "quillon ${shown}: the output differs from ${EXPECTED}; it is in ${ACTUAL}")
endif()

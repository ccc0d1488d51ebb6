# cmake -DSCDOC=scdoc -DIN=page.scd -DOUT=page -P Scdoc.cmake
# scdoc reads the page's source on its standard input and writes roff to its standard output.
execute_process(COMMAND ${SCDOC} INPUT_FILE ${IN} OUTPUT_FILE ${OUT} RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    file(REMOVE ${OUT})
    message(FATAL_ERROR "scdoc failed on ${IN}")
endif()

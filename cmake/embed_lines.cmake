# cmake -DINPUT=FILE -DOUTPUT=FILE -P embed_lines.cmake
# Writes the lines of a text as the elements of an array.
file(READ ${INPUT} text)
string(REGEX REPLACE "\n$" "" text "${text}")
string(REPLACE "\n" ")~\",\nR\"~(" text "${text}")
file(WRITE ${OUTPUT} "R\"~(${text})~\",\n")

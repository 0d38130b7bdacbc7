# Writes INPUT's bytes as a std::string_view constant named NAME into OUTPUT.
file(READ "${INPUT}" hex HEX)
string(LENGTH "${hex}" hexLength)
math(EXPR byteCount "${hexLength} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${hex}")
file(WRITE "${OUTPUT}" "// Generated from ${INPUT}; edit that file instead.\n#pragma once\n#include <string_view>\n\nnamespace QuilloryEmbedded {\ninline constexpr char ${NAME}Bytes[] = {${bytes} '\\0'};\ninline constexpr std::string_view ${NAME}{${NAME}Bytes, ${byteCount}};\n}\n")

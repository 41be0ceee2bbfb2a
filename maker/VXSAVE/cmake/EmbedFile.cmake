# Turns one file into a C++ source that defines its bytes as an array:
#   cmake -DINPUT=<file> -DOUTPUT=<file.cpp> -DSYMBOL=<name> -P EmbedFile.cmake
# defines `const unsigned char <name>[]` and `const std::size_t <name>Size`
# in namespace vxsave. The library then needs no resource folder at run time.
file(READ "${INPUT}" hex HEX)
string(LENGTH "${hex}" hexLength)
math(EXPR size "${hexLength} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
string(REGEX REPLACE "((0x[0-9a-f][0-9a-f],){16})" "\\1\n    " bytes "${bytes}")
get_filename_component(inputName "${INPUT}" NAME)
file(WRITE "${OUTPUT}.tmp"
  "// Generated at build time from ${inputName}; do not edit.\n"
  "#include <cstddef>\n\n"
  "namespace vxsave {\n\n"
  "extern const unsigned char ${SYMBOL}[];\n"
  "extern const std::size_t ${SYMBOL}Size;\n\n"
  "const unsigned char ${SYMBOL}[] = {\n    ${bytes}\n};\n"
  "const std::size_t ${SYMBOL}Size = ${size};\n\n"
  "}  // namespace vxsave\n")
file(RENAME "${OUTPUT}.tmp" "${OUTPUT}")

# Writes OUTPUT, a source with the bytes of FILES (separated by commas) in FOLDER.
string(REPLACE "," ";" names "${FILES}")
set(arrays "")
set(table "")
foreach(name IN LISTS names)
  file(READ ${FOLDER}/${name} bytes HEX)
  string(LENGTH "${bytes}" digits)
  math(EXPR size "${digits} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
  string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n  "
    bytes "${bytes}")
  string(MAKE_C_IDENTIFIER ${name} identifier)
  string(APPEND arrays "constexpr unsigned char k_${identifier}[] = {\n  ${bytes}0};\n\n")
  string(APPEND table
    "  if (name == \"${name}\") return std::string_view(reinterpret_cast<const char*>(k_${identifier}), ${size});\n")
endforeach()
file(WRITE ${OUTPUT} "// Written by Embed.cmake from the bundled page.
#include \"tools/dorn-gateway/EmbeddedPage.h\"

namespace dorn::gateway {

namespace {

${arrays}}  // namespace

std::optional<std::string_view> EmbeddedFile(std::string_view name) {
${table}  return std::nullopt;
}

}  // namespace dorn::gateway
")

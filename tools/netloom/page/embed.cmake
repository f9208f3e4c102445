# Writes a C++ header that holds a text file as one raw string literal:
#   cmake -DINPUT=page.html -DOUTPUT=page_html.h -DNAME=kPageHtml -P embed.cmake
file(READ "${INPUT}" text)
set(delimiter "netloom_page")
string(FIND "${text}" ")${delimiter}\"" clash)
if(NOT clash EQUAL -1)
  message(FATAL_ERROR "${INPUT} contains )${delimiter}\", which would end the string literal")
endif()
get_filename_component(source "${INPUT}" NAME)
file(WRITE "${OUTPUT}"
     "// Made from ${source} at build time; edit that file instead.\n"
     "#pragma once\n\n"
     "namespace netloom_cli {\n\n"
     "inline constexpr char ${NAME}[] = R\"${delimiter}(${text})${delimiter}\";\n\n"
     "} // namespace netloom_cli\n")

# cmake -D PAGE=tools/map/page -D LIBRARIES=third_party -D OUTPUT=FILE.cpp -P map_page.cmake
# Makes C++ of the page that a map is: page.html with its style sheet, its modules and its libraries
# filled in, in two parts between which a map's data belong.

# The modules in an order in which what a module imports stands before it. Each becomes a function
# that returns what it exports.
set(modules fabric states text layout zoom drawing port_table panel vsan_list search legend main)
foreach(module ${modules})
  file(READ ${PAGE}/${module}.js text)
  set(exports "")
  string(REGEX MATCHALL "\nexport [a-z ]+ [A-Za-z]+" found "${text}")
  foreach(export ${found})
    string(REGEX REPLACE ".* " "" name "${export}")
    string(APPEND exports "${name}, ")
  endforeach()
  string(REGEX REPLACE "\nimport ({[^}]*}) from \"./([a-z_]+).js\"" "\nconst \\1 = modules.\\2" text "${text}")
  string(REGEX REPLACE "\nexport " "\n" text "${text}")
  string(APPEND MODULES "modules.${module} = (() => {\n${text}\nreturn { ${exports}};\n})();\n")
endforeach()
file(READ ${PAGE}/page.css STYLE)
file(READ ${PAGE}/elk_worker.js START)
file(READ ${LIBRARIES}/d3/d3.min.js D3)
file(READ ${LIBRARIES}/elkjs/elk-api.js ELK)
file(READ ${LIBRARIES}/elkjs/elk-worker.min.js ELK_WORKER)
foreach(script MODULES START D3 ELK ELK_WORKER)
  string(FIND "${${script}}" "</script" found)
  if(NOT found EQUAL -1)
    message(FATAL_ERROR "${script} holds </script, which would end it in a page")
  endif()
endforeach()

file(READ ${PAGE}/page.html page)
string(CONFIGURE "${page}" page @ONLY)
string(FIND "${page}" "<!-- data -->" data)
string(SUBSTRING "${page}" 0 ${data} begin)
string(SUBSTRING "${page}" ${data} -1 end)
file(WRITE ${OUTPUT} "#include \"tools/map/page_text.h\"

namespace fabric_map {

const std::string_view kPageBegin = R\"page:(${begin})page:\";
const std::string_view kPageEnd = R\"page:(${end})page:\";

} // namespace fabric_map
")

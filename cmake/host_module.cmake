# kv_host_module(target file.def): makes a MODULE target what the layer loads as a DLL: no SONAME, and exactly the
# exports of the .def file, so that two copies and a second load share nothing.
function(kv_host_module target def)
  file(STRINGS ${def} lines REGEX "@[0-9]+")
  set(names)
  foreach(line ${lines})
    string(REGEX MATCH "[A-Za-z_]+" name ${line})
    string(APPEND names " ${name};")
  endforeach()
  set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.version)
  file(WRITE ${script} "{ global:${names} local: *; };\n")
  target_link_options(${target} PRIVATE -Wl,--version-script=${script})
  set_target_properties(${target} PROPERTIES NO_SONAME ON LINK_DEPENDS ${script})
endfunction()

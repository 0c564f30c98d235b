# Read by CTest behind the tests of the preset "board": disables what left-out.txt names.
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/left-out.txt zr_lines REGEX "^board")
foreach(zr_line IN LISTS zr_lines)
  string(REGEX REPLACE " \\| .*" "" zr_name "${zr_line}")
  set_tests_properties("${zr_name}" PROPERTIES DISABLED TRUE)
endforeach()

# Read by cpack in a cross build: libraries and their packages are looked up in the sysroot.
set(SHLIBDEPS_EXECUTABLE ${CMAKE_CURRENT_LIST_DIR}/cross-shlibdeps CACHE FILEPATH "")

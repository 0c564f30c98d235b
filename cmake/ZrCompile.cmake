# Compiler settings shared by every target: warnings as errors, sanitizers, and
# the short way to declare one of the project's libraries.

option(ZR_WARNINGS_AS_ERRORS "Fail where the compiler warns; off for compilers that nobody has tried" ON)
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion
                    -Wformat=2 -Wno-format-nonliteral -Wnon-virtual-dtor -Woverloaded-virtual
                    $<$<BOOL:${ZR_WARNINGS_AS_ERRORS}>:-Werror> -fno-omit-frame-pointer)

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options(-Wno-restrict) # GCC 12 sees an overlap in every "text" + std::string
endif()

if(ZR_SANITIZE)
  add_compile_options(-fsanitize=${ZR_SANITIZE} -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ZR_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-maybe-uninitialized) # instrumented library code misleads it
  endif()
endif()

# zr_add_library(NAME SOURCES file... [LIBS target...])
# A static library whose headers are found from PlatformSDK/, PlatformSDK/Include/,
# App/ and App/Include/ (the last two only for libraries declared below App/).
function(zr_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR}/PlatformSDK ${CMAKE_SOURCE_DIR}/PlatformSDK/Include)
  if(CMAKE_CURRENT_SOURCE_DIR MATCHES "^${CMAKE_SOURCE_DIR}/App")
    target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR}/App ${CMAKE_SOURCE_DIR}/App/Include)
  endif()
  target_link_libraries(${name} PUBLIC ${ARG_LIBS} Threads::Threads)
endfunction()

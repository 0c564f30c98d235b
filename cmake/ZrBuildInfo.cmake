# Writes BuildInfo.cpp; run at every build, changes the file only when its texts change.
# In: SOURCE_DIR, OUTPUT, BUILD_TYPE, BUILT_BY (may be empty).
# The revision comes from git, or, in an exported tree, from what the export left in
# cmake/Revision.txt; without either it is "unknown".

function(git_output result)
  execute_process(COMMAND git -c safe.directory=* ${ARGN} WORKING_DIRECTORY ${SOURCE_DIR}
                  OUTPUT_VARIABLE output OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed ERROR_QUIET)
  if(failed)
    set(output "")
  endif()
  set(${result} "${output}" PARENT_SCOPE)
endfunction()

set(revision "")
set(changes "changes unknown")
git_output(top rev-parse --show-toplevel)
if(top STREQUAL SOURCE_DIR)
  git_output(revision rev-parse HEAD)
  git_output(status status --porcelain --untracked-files=no)
  if(status STREQUAL "")
    set(changes "no uncommitted changes")
  else()
    set(changes "uncommitted changes")
  endif()
else()
  file(STRINGS ${SOURCE_DIR}/cmake/Revision.txt exported LIMIT_COUNT 1)
  if(exported MATCHES "^[0-9a-f]+$")
    set(revision ${exported})
    set(changes "exported tree")
  endif()
endif()
if(revision STREQUAL "")
  set(revision "unknown")
endif()

if(NOT BUILT_BY)
  execute_process(COMMAND id -un OUTPUT_VARIABLE BUILT_BY OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()

set(content "// Produced by the build.
#include \"ZRFpgaMng/BuildInfo.h\"

const char BUILD_DATE[] = __DATE__;
const char BUILD_TIME[] = __TIME__;
const char BUILD_COMMIT_ID[] = \"${revision} (built by ${BUILT_BY}, ${changes}) ${BUILD_TYPE}\";
")
if(EXISTS ${OUTPUT})
  file(READ ${OUTPUT} previous)
endif()
if(NOT content STREQUAL "${previous}")
  file(WRITE ${OUTPUT} "${content}")
endif()

# The Debian packages, one for each component of the install rules; made with `cpack` in
# the build directory. Deploy/packages does it all.
set(deb ${CMAKE_CURRENT_LIST_DIR})
file(STRINGS ${deb}/changelog newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^zrfpgamng \\(${PROJECT_VERSION}-([0-9]+)\\)")
  message(FATAL_ERROR "Deploy/debian/changelog does not begin with version ${PROJECT_VERSION}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_1})

if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
else()
  message(FATAL_ERROR "No Debian architecture is known for ${CMAKE_SYSTEM_PROCESSOR}")
endif()

# ---- What all of them have -----------------------------------------------------------

file(STRINGS ${deb}/changelog signature REGEX "^ -- ")
list(GET signature 0 signature)
string(REGEX REPLACE "^ -- (.*>)  .*" "\\1" CPACK_DEBIAN_PACKAGE_MAINTAINER "${signature}")
set(CPACK_PACKAGE_NAME zrfpgamng)
set(CPACK_PACKAGE_VENDOR ZRFpgaMng)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "${CPACK_DEBIAN_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_GENERATOR DEB)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL service tools dev card)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)

set(changelog ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz)
zr_gzip(${deb}/changelog ${changelog})

# Tags that lintian is not to raise: those of all packages and of this one.
function(zr_debian_overrides component name)
  file(READ ${deb}/lintian-overrides overrides)
  if(EXISTS ${deb}/${name}.lintian-overrides)
    file(READ ${deb}/${name}.lintian-overrides own)
  endif()
  file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/overrides/${name} "${overrides}${own}")
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/overrides/${name} DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
          COMPONENT ${component})
endfunction()

# zr_debian_package(COMPONENT NAME DESCRIPTION text [SECTION s] [ARCHITECTURE a] [DEPENDS d] [RECOMMENDS r]
#                   [SUGGESTS s] [CONTROL file...] [BINARIES])
# Declares a package. BINARIES: finds the libraries that its programs need.
macro(zr_debian_package component name)
  cmake_parse_arguments(ARG "BINARIES" "DESCRIPTION;SECTION;ARCHITECTURE;DEPENDS;RECOMMENDS;SUGGESTS" "CONTROL" ${ARGN})
  string(TOUPPER ${component} upper)
  set(prefix CPACK_DEBIAN_${upper})
  set(${prefix}_PACKAGE_NAME ${name})
  set(${prefix}_DESCRIPTION "${ARG_DESCRIPTION}")
  foreach(field SECTION ARCHITECTURE DEPENDS RECOMMENDS SUGGESTS)
    if(ARG_${field})
      set(${prefix}_PACKAGE_${field} "${ARG_${field}}")
    endif()
  endforeach()
  set(${prefix}_PACKAGE_CONTROL_EXTRA "${ARG_CONTROL}")
  set(${prefix}_PACKAGE_SHLIBDEPS ${ARG_BINARIES})
  set(package_docs ${CMAKE_INSTALL_DATADIR}/doc/${name})
  install(FILES ${deb}/copyright ${changelog} DESTINATION ${package_docs} COMPONENT ${component})
  zr_debian_overrides(${component} ${name})
endmacro()

# ---- The packages --------------------------------------------------------------------

zr_debian_package(service zrfpgamng BINARIES
  DESCRIPTION "audio bridge of an intercom device
Moves 24 channels of audio at 16 kHz, one period of 2 ms at a time, between
the FPGA's sound card hw:0,0 and the other audio processes of the board, over
Unix datagram sockets.
.
This package holds the service, its systemd unit and its place on the system
bus."
  DEPENDS "systemd | systemd-standalone-sysusers, systemd | systemd-standalone-tmpfiles, default-dbus-system-bus | dbus-system-bus"
  RECOMMENDS zrfpgamng-tools
  CONTROL ${deb}/postinst ${deb}/prerm ${deb}/postrm)

zr_debian_package(tools zrfpgamng-tools BINARIES
  DESCRIPTION "operator's and peer's tools for the audio bridge
zrctl asks the audio bridge of an intercom device for its counters, lets it
record, shows the levels of recordings and reads its log.
.
zrpeer is a peer of the service on the command line: it receives and sends
audio as sound files, and measures how regularly it comes.")

zr_debian_package(dev zrfpgamng-dev
  DESCRIPTION "header for peers of the audio bridge
One C++17 header with the messages and sockets over which a process exchanges
audio with the audio bridge of an intercom device. There is nothing to link."
  SECTION libdevel ARCHITECTURE all SUGGESTS zrfpgamng)

zr_debian_package(card zrfpgamng-card BINARIES
  DESCRIPTION "stand-in sound card for the audio bridge
An ALSA plugin that takes the place of the FPGA's sound card where there is no
board, for those processes only whose ALSA configuration asks for it.
.
zrcard steers it and lets it fail on purpose; zrdesk runs the service on it
and checks every sample."
  DEPENDS "zrfpgamng (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}), zrfpgamng-tools (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}), alsa-utils, dbus-daemon")

# A cross build finds its libraries' packages in what the sysroot was made of.
if(CMAKE_CROSSCOMPILING)
  set(CPACK_PROJECT_CONFIG_FILE ${deb}/CrossLibraries.cmake)
endif()

include(CPack)

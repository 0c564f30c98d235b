# Toolchain of the preset "board": the board's AArch64 (Cortex-A53), against the sysroot
# that Tools/Scripts/sysroot fills, with its programs run by qemu-user on this machine.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_C_FLAGS_INIT -mcpu=cortex-a53)
set(CMAKE_CXX_FLAGS_INIT -mcpu=cortex-a53)

get_filename_component(zr_tree ${CMAKE_CURRENT_LIST_DIR}/.. ABSOLUTE)
execute_process(COMMAND ${zr_tree}/Tools/Scripts/sysroot RESULT_VARIABLE zr_failed)
if(zr_failed)
  message(FATAL_ERROR "Tools/Scripts/sysroot could not fill ${zr_tree}/build/sysroot")
endif()
set(CMAKE_SYSROOT ${zr_tree}/build/sysroot)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

set(CMAKE_CROSSCOMPILING_EMULATOR ${zr_tree}/Tools/Scripts/emulate)

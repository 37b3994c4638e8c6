# Builds for another machine against Debian's packages of that machine, unpacked in FCS_SYSROOT
# (scripts/check --arch does that). FCS_ARCH is i386 (32 bits) or s390x (big-endian).
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES FCS_ARCH FCS_SYSROOT)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${FCS_ARCH})
set(CMAKE_SYSROOT ${FCS_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(NET_SNMP_CONFIG ${FCS_SYSROOT}/usr/bin/net-snmp-config CACHE FILEPATH "")

if(FCS_ARCH STREQUAL "i386")
  set(compiler_prefix i686-linux-gnu)
  # This machine runs the programs itself, with the loader and the libraries of the sysroot.
  set(libraries ${FCS_SYSROOT}/lib/i386-linux-gnu:${FCS_SYSROOT}/usr/lib/i386-linux-gnu)
  set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,--dynamic-linker=${FCS_SYSROOT}/lib/ld-linux.so.2 \
-Wl,--disable-new-dtags,-rpath=${libraries}")
  set(FCS_SNMPD_DIR ${FCS_SYSROOT}/agent)
elseif(FCS_ARCH STREQUAL "s390x")
  set(compiler_prefix s390x-linux-gnu)
  find_program(QEMU_S390X qemu-s390x REQUIRED)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${QEMU_S390X} -L ${FCS_SYSROOT})
else()
  message(FATAL_ERROR "FCS_ARCH: '${FCS_ARCH}' is not i386 or s390x")
endif()
set(CMAKE_C_COMPILER ${compiler_prefix}-gcc)
set(CMAKE_CXX_COMPILER ${compiler_prefix}-g++)

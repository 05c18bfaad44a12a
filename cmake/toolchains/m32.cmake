# 32-bit x86, made on a 64-bit machine. What the programs need at run time, from the C library to those of the embedded
# host, lies in build/i386, where `./setup m32` unpacks it. They name it, so that they run on the build machine as they
# are; only text in old encodings wants GCONV_PATH, as the test preset sets it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)

get_filename_component(libraries ${CMAKE_CURRENT_LIST_DIR}/../../build/i386 ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH /usr/i686-linux-gnu ${libraries})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${libraries}/usr/lib/i386-linux-gnu/pkgconfig:${libraries}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${libraries})

# Searched for what a library needs in turn and for what is opened later, too; the newer kind of entry is not.
string(CONCAT CMAKE_EXE_LINKER_FLAGS_INIT
  "-Wl,--dynamic-linker=${libraries}/lib/ld-linux.so.2 -Wl,--disable-new-dtags"
  " -Wl,-rpath,${libraries}/lib/i386-linux-gnu:${libraries}/usr/lib/i386-linux-gnu")

# Cross-builds the Windows programs with Debian's MinGW-w64 (posix threads, so that std::thread and
# std::mutex exist) and runs their tests under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(triplet x86_64-w64-mingw32)

set(CMAKE_C_COMPILER ${triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${triplet}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Each program is one file and needs no DLL beside it.
set(CMAKE_FIND_LIBRARY_SUFFIXES .a)

# This is the 64-bit loader itself, because the wrapper /usr/bin/wine asks for a 32-bit Wine that nothing here needs.
find_program(NCEDL_WINE NAMES wine64 wine PATHS /usr/lib/wine)
if(NCEDL_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${NCEDL_WINE})
endif()

# Cross-builds for 64-bit ARM with Debian's compiler and its packages of that architecture. QEMU runs the tests, and the
# programs that the build itself needs.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(triplet aarch64-linux-gnu)

set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)

find_program(NCEDL_QEMU qemu-aarch64-static)
if(NCEDL_QEMU)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${NCEDL_QEMU})
endif()

# Cross-compiling for the camera: AArch64 Linux, Debian's cross compiler and
# the arm64 libraries installed through multiarch (/usr/lib/aarch64-linux-gnu).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# Libraries and packages of the target only; programs of the build machine.
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# Every program is a static PIE, as the camera's rest.cgi is: the tests then
# run under qemu's user-mode emulation with no loader or shared library of
# the target to find. (A dynamically linked test given the cross sysroot as
# qemu's library path hangs in the child of its first fork; and -static
# beside -static-pie links a program that crashes at start.)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static-pie)
find_program(QEMU_AARCH64 qemu-aarch64 REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${QEMU_AARCH64})

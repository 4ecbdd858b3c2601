# armhf by Debian's cross compiler (g++-arm-linux-gnueabihf); its programs run under qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)  # For GoogleTest.
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
# Not ONLY: CLI11 and nlohmann-json are headers alone, and this machine's serve.
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L /usr/arm-linux-gnueabihf)
# Seen here alone, and wrong, in a std::optional of a string: a warning, no error.
# psabi: notes of a change in GCC 7.1 that nothing here is old enough for.
set(CMAKE_CXX_FLAGS_INIT "-Wno-error=maybe-uninitialized -Wno-psabi")

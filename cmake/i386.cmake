# Toolchain of the 32-bit build (scripts/ci-i386.sh): the host g++ with -m32 (g++-multilib),
# against the i386 multiarch libraries of the :i386 packages scripts/install-deps.sh installs.
#
#   cmake -S . -B build-i386 -DCMAKE_TOOLCHAIN_FILE=cmake/i386.cmake
#
# ACE's runtime cannot be installed for both architectures at once through dpkg (it is not
# multiarch), so install-deps.sh unpacks the i386 one under /opt/ktsip-i386 with a pkg-config
# file of its own and registers that folder with the dynamic linker.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)

set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
set(KTSIP_ARCH_FLAGS -m32)
set(CMAKE_C_FLAGS_INIT "-m32")
set(CMAKE_CXX_FLAGS_INIT "-m32")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-m32")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-m32")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-m32")

# Libraries and packages of the target architecture: CMake's searches look in the i386
# multiarch folders, pkg-config in the i386 ones only.
set(ENV{PKG_CONFIG_LIBDIR} "/opt/ktsip-i386/lib/pkgconfig:/usr/lib/i386-linux-gnu/pkgconfig:/usr/share/pkgconfig")

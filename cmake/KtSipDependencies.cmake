# Third-party libraries the base layer is built on (Debian 12 packages; see scripts/install-deps.sh).
find_package(Threads REQUIRED)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
find_package(PkgConfig REQUIRED)
pkg_check_modules(LOG4CPLUS REQUIRED IMPORTED_TARGET log4cplus)
pkg_check_modules(ACE REQUIRED IMPORTED_TARGET ACE)
pkg_check_modules(UUID REQUIRED IMPORTED_TARGET uuid)

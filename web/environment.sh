# Sourced by the scripts that build for the web.
jobs="${JOBS:-$(nproc)}"
# Where Debian's modules for Node lie, which emscripten loads.
export NODE_PATH=/usr/share/nodejs
# The root of these libraries, not that of the machine.
export PKG_CONFIG_LIBDIR="$PWD/build/web/root/lib/pkgconfig" PKG_CONFIG_SYSROOT_DIR=""

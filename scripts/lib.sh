# Shared by the scripts of this folder: which Debian packages what needs, and how they are installed.
# shellcheck shell=sh disable=SC2034

build_packages='cmake ninja-build g++ pkg-config libcli11-dev nlohmann-json3-dev nettle-dev libpng-dev libavformat-dev'
demo_packages='python3-minimal libpython3-stdlib'
test_packages='libgtest-dev libbenchmark-dev libjpeg-dev binutils python3 ffmpeg doxygen groff-base valgrind'
bench_packages='libmpeg2-4-dev libavcodec-dev'
seek_packages='libffms2-dev'
clang_packages='clang-14'
lint_packages='clang-format-14 clang-tidy-14'
docs_packages='doxygen'
elsewhere_packages='googletest python3 qemu-user'
package_packages='build-essential debhelper lintian dpkg-dev fakeroot git'

# Installs those of the named packages that are missing, without a question asked.
need_packages() {
    missing=
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
    done
    [ -n "$missing" ] || return 0
    as_root=
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "These Debian packages are missing:$missing. Run as root, or install sudo." >&2
            exit 1
        }
        as_root=sudo
    fi
    echo "Installing$missing" >&2
    # A list of words on purpose, here and below.
    # shellcheck disable=SC2086
    { $as_root apt-get update -qq &&
        $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >/dev/null; } || {
        echo "Could not install$missing" >&2
        exit 1
    }
}

# Jobs of a build: one a processor.
jobs=$(nproc 2>/dev/null || echo 2)

// SPDX-License-Identifier: BSD-2-Clause
// tvk_damage NUMBER OUT: writes the damaged clip of a number, to look into what a test says about it.
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "damaged_clip.h"

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fputs("tvk_damage NUMBER OUT\n", stderr);
        return 2;
    }
    const tvktest::DamagedClip clip = tvktest::damagedClip(std::strtoull(argv[1], nullptr, 10));
    std::ofstream out(argv[2], std::ios::binary);
    out.write(reinterpret_cast<const char *>(clip.bytes.data()), static_cast<std::streamsize>(clip.bytes.size()));
    std::printf("precision %d, size 1/%d, %d threads, loop %d\n", clip.precision, 1 << clip.reduceShift, clip.threads,
                static_cast<int>(clip.loop));
    return out.good() ? 0 : 1;
}

// SPDX-License-Identifier: BSD-2-Clause
// Decodes a clip on one thread and does nothing else: what instructions are counted of.
#include <cstdio>
#include <cstdlib>

#include "tvk.h"
#include "tvk_source.h"

int main(int argc, char **argv) {
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
    if (argc != 3 || tvkOpenFileSource(&source, argv[1]) != 0 || tvkCreateVideoStream(&stream, source) != 0) {
        std::fprintf(stderr, "usage: tvk_decode_clip CLIP 1|2|4|8\n");
        return 2;
    }
    tvkSetVideoSP_Precision(stream, 2);
    tvkSetVideoSP_Threads(stream, 1);
    tvkSetVideoSP_ReduceCoefficient(stream, std::atoi(argv[2]));
    int frames = 0;
    while (tvkNextVideoFrame(stream) == 0) ++frames;
    std::printf("%d frames\n", frames);
    tvkDestroyVideoStream(stream);
    tvkCloseSource(source);
    return frames == 0;
}

/* SPDX-License-Identifier: BSD-2-Clause */
/* Steps through a video and prints a line for each frame: step FILE */
#include <stdio.h>

#include "tvk.h"
#include "tvk_source.h"

int main(int argc, char **argv) {
    VideoSource *source;
    VideoStream *stream;
    VideoFrame *frame;
    int32_t code;

    if (argc != 2) {
        fprintf(stderr, "usage: step FILE\n");
        return 2;
    }
    code = tvkOpenFileSource(&source, argv[1]);
    if (code != 0) {
        fprintf(stderr, "%s: %s\n", argv[1], tvkSourceErrorText(code));
        return 1;
    }
    code = tvkCreateVideoStream(&stream, source);
    if (code == 0) {
        while ((code = tvkGetNextVideoFrame(stream, &frame)) == 0) {
            const VideoPlane *luma = &frame->lumaPlane;
            printf("%d %c %d x %d\n", (int)frame->frameNumber, "?IPBD"[frame->pictureCodingType], (int)luma -> width,
                   (int)luma -> height);
        }
        tvkDestroyVideoStream(stream);
    }
    tvkCloseSource(source);
    if (code == tvkErrEndOfStream) return 0;
    fprintf(stderr, "%s: error %d\n", argv[1], (int)code);
    return 1;
}

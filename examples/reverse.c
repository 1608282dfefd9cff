/* SPDX-License-Identifier: BSD-2-Clause */
/* Plays a video backwards through the ring of decoded frames and prints a line for each frame: reverse FILE */
#include <stdio.h>

#include "tvk.h"
#include "tvk_source.h"

/* Frames that the ring keeps behind the current one: so many frames ahead of the picture on show, as the film runs
 * backwards, decoding has been done already. A frame of the ring is looked at without a step. */
enum { kFramesBehind = 6 };

static void show(VideoStream *stream, const VideoFrame *frame) {
    int32_t later, earlier;
    if (tvkGetVideoFrameBufferUtilization(stream, &later, &earlier) != 0) later = earlier = 0;
    printf("frame %d, %d decoded ahead\n", (int)frame->frameNumber, (int)-earlier);
}

static int32_t playBackwards(VideoStream *stream) {
    VideoStreamInfo info;
    VideoFrame *frame;
    int32_t code = tvkCreateVideoIndexTable(stream); /* steps back need an index table */
    if (code == 0) code = tvkGetVideoStreamInfo(stream, &info);
    if (code == 0) code = tvkSetVideoFrameBufferSize(stream, 0, kFramesBehind);
    if (code == 0) code = tvkSetVideoFrameNumber(stream, (int32_t)info.frameCount);
    if (code == 0) code = tvkGetVideoFrame(stream, &frame);
    while (code == 0) {
        show(stream, frame);
        code = tvkGetPrevVideoFrame(stream, &frame);
    }
    return code;
}

int main(int argc, char **argv) {
    VideoSource *source;
    VideoStream *stream;
    int32_t code;

    if (argc != 2) {
        fprintf(stderr, "usage: reverse FILE\n");
        return 2;
    }
    code = tvkOpenFileSource(&source, argv[1]);
    if (code != 0) {
        fprintf(stderr, "%s: %s\n", argv[1], tvkSourceErrorText(code));
        return 1;
    }
    code = tvkCreateVideoStream(&stream, source);
    if (code == 0) {
        code = playBackwards(stream);
        tvkDestroyVideoStream(stream);
    }
    tvkCloseSource(source);
    if (code == tvkErrNoPreviousFrame) return 0; /* frame 1 has been shown */
    fprintf(stderr, "%s: error %d\n", argv[1], (int)code);
    return 1;
}

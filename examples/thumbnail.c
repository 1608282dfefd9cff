/* SPDX-License-Identifier: BSD-2-Clause */
/* Saves a small picture of one frame, found by the index table: thumbnail FILE NUMBER NAME writes NAME.jpg */
#include <stdio.h>
#include <stdlib.h>

#include "tvk.h"
#include "tvk_source.h"

/* FILE.vidx is read if it belongs to the file; else the file is scanned, once for this and all later runs. */
static int32_t makeIndex(VideoStream *stream, const char *file) {
    char name[4096];
    int32_t code;
    snprintf(name, sizeof name, "%s.vidx", file);
    if (tvkReadVideoIndexTable(stream, name) == 0) return 0;
    code = tvkCreateVideoIndexTable(stream);
    if (code == 0) tvkWriteVideoIndexTable(stream, name); /* a folder that takes no file costs the next run a scan */
    return code;
}

/* Decoding at a quarter of the size costs a fraction of the time. */
static int32_t saveThumbnail(VideoStream *stream, const char *file, int32_t number, const char *name) {
    VideoFrame *frame;
    int32_t code = tvkSetVideoSP_ReduceCoefficient(stream, 4);
    if (code == 0) code = makeIndex(stream, file);
    if (code == 0) code = tvkSetVideoFrameNumber(stream, number);
    if (code == 0) code = tvkGetVideoFrame(stream, &frame);
    if (code == 0) code = tvkSaveVideoFrameToFile(frame, name, 3);
    if (code == 0)
        printf("frame %d: %s.jpg, %d x %d\n", (int)frame->frameNumber, name, (int)frame->lumaPlane.width,
               (int)frame->lumaPlane.height);
    return code;
}

int main(int argc, char **argv) {
    VideoSource *source;
    VideoStream *stream;
    int32_t code;

    if (argc != 4) {
        fprintf(stderr, "usage: thumbnail FILE NUMBER NAME\n");
        return 2;
    }
    code = tvkOpenFileSource(&source, argv[1]);
    if (code != 0) {
        fprintf(stderr, "%s: %s\n", argv[1], tvkSourceErrorText(code));
        return 1;
    }
    code = tvkCreateVideoStream(&stream, source);
    if (code == 0) {
        code = saveThumbnail(stream, argv[1], (int32_t)atoi(argv[2]), argv[3]);
        tvkDestroyVideoStream(stream);
    }
    tvkCloseSource(source);
    if (code == 0) return 0;
    if (code == tvkErrFrameOutOfRange || code == tvkErrNotIndexed)
        fprintf(stderr, "%s has no frame %s\n", argv[1], argv[2]);
    else
        fprintf(stderr, "%s: error %d\n", argv[1], (int)code);
    return 1;
}

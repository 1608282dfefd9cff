/* SPDX-License-Identifier: BSD-2-Clause */
/* Decodes into buffers of its own, from a source of its own, and writes the pictures as YUY2 to the standard output:
 * own_buffer FILE.m2v | ffplay -f rawvideo -pixel_format yuyv422 -video_size WIDTHxHEIGHT -
 * WIDTH is the video's rounded up to 32. The source is a video elementary stream that lies in memory as a whole. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tvk.h"

/* THE SOURCE. The table comes first, so that the operations find the record that they work on. */
typedef struct MemorySource {
    VideoSource table;
    uint8_t *bytes;
    size_t size;
    size_t unitStart; /* of the unit read last */
    size_t next;      /* where the next unit starts */
    int32_t layer;
} MemorySource;

static size_t atMost(size_t value, size_t limit) {
    return value < limit ? value : limit;
}

/* The next 00 00 01 xx from `at` on, or the end. */
static size_t findStartCode(const MemorySource *self, size_t at) {
    for (; at + 4 <= self->size; ++at)
        if (self->bytes[at] == 0 && self->bytes[at + 1] == 0 && self->bytes[at + 2] == 1) return at;
    return self->size;
}

/* Lists the start codes of the unit that begins at `start`, and returns where it ends: behind the next picture's start
 * code. Slices are 257 to 431; the decoder is told where their run lies. */
static size_t listUnit(const MemorySource *self, size_t start, PictureUnit *unit) {
    size_t at = findStartCode(self, start);
    int32_t n = 0;
    unit->firstSlice = unit->lastSlice = unit->sliceCount = 0;
    for (; at < self->size && n < 4096; at = findStartCode(self, at + 4)) {
        const uint32_t code = 0x100u + self->bytes[at + 3];
        unit->startCodes[n] = code;
        unit->startOffsets[n] = (uint32_t)(at - start);
        if (code > 256 && code < 432) {
            if (unit->sliceCount++ == 0) unit->firstSlice = n;
            unit->lastSlice = n;
        }
        unit->entryCount = ++n;
        if (code == 256) return at + 4;
    }
    unit->entryCount = n;
    return self->size;
}

/* The decoder's buffer may be smaller than the unit: it then asks for the rest of it with a larger one. */
static int32_t readUnit(VideoSource *source, uint32_t decoderId, PictureUnit *unit, uint32_t *byteCount) {
    MemorySource *self = (MemorySource *)source;
    const size_t start = unit->resumeOffset ? self->unitStart : self->next;
    const size_t done = (size_t)unit->resumeOffset;
    const size_t end = listUnit(self, start, unit);
    const size_t wanted = end - start - done;
    const size_t copied = atMost(wanted, (size_t)unit->capacity - done);
    (void)decoderId;
    memcpy(unit->buffer + done, self->bytes + start + done, copied);
    unit->timeStamp = -1.0;
    self->unitStart = start;
    self->next = end;
    *byteCount = (uint32_t)copied;
    return copied < wanted ? tvkErrBufferTooSmall : 0;
}

static int32_t describe(VideoSource *source, StreamDescription *out) {
    (void)source;
    out->containerKind = out->layerKind = out->videoStreamCount = 1;
    out->layerCount = atMost(1, out->layerCapacity) == 1;
    if (out->layerCount) {
        out->layers[0].layerId = 480;
        out->layers[0].layerUsable = 1;
    }
    return 0;
}

/* A position is a byte here. The first word only tells it from "no position", which is all zero. */
static int32_t getAbsPosition(VideoSource *source, uint32_t decoderId, uint32_t unitOffset, AbsPosition *out) {
    (void)decoderId;
    out->words[0] = 1;
    out->words[1] = 0;
    out->words[2] = (uint32_t)(((MemorySource *)source)->unitStart + unitOffset);
    return 0;
}

static int32_t seekAbsPosition(VideoSource *source, uint32_t decoderId, const AbsPosition *position) {
    MemorySource *self = (MemorySource *)source;
    (void)decoderId;
    if (position->words[2] > self->size) return tvkErrPositionOutOfRange;
    self->next = position->words[2];
    return 0;
}

static int32_t getRatePosition(VideoSource *source, uint32_t decoderId, uint32_t unitOffset, double *out) {
    const MemorySource *self = (const MemorySource *)source;
    (void)decoderId;
    *out = (double)(self->unitStart + unitOffset) / (double)self->size;
    return 0;
}

static int32_t seekRatePosition(VideoSource *source, uint32_t decoderId, const double *rate) {
    MemorySource *self = (MemorySource *)source;
    (void)decoderId;
    self->next = atMost((size_t)(*rate * (double)self->size), self->size);
    return 0;
}

static int32_t seekTimePosition(VideoSource *source, uint32_t decoderId, const double *seconds) {
    (void)source, (void)decoderId, (void)seconds;
    return tvkErrPositionOutOfRange; /* it knows no times */
}

static int32_t getParameter(VideoSource *source, uint32_t decoderId, uint32_t number, void *out) {
    const MemorySource *self = (const MemorySource *)source;
    const uint32_t size[2] = {0, (uint32_t)self->size};
    (void)decoderId;
    switch (number) {
        case 0: /* identity: enough for one film */
        case 14:
            memcpy(out, size, sizeof size);
            return 0;
        case 9:
            memcpy(out, &self->layer, sizeof self->layer);
            return 0;
        default: /* 8 among them: the buffers of units are the decoder's */
            return tvkErrInvalidArgument;
    }
}

static int32_t setParameter(VideoSource *source, uint32_t decoderId, uint32_t number, const void *value) {
    (void)decoderId;
    if (number == 9) memcpy(&((MemorySource *)source)->layer, value, sizeof(int32_t));
    return 0;
}

static int32_t openClose(VideoSource *source, uint32_t *decoderId, uint32_t operation) {
    if (operation == 1) {
        *decoderId = 0;
        ((MemorySource *)source)->next = 0;
    }
    return 0;
}

static int readFile(MemorySource *self, const char *name) {
    FILE *file = fopen(name, "rb");
    long size;
    if (!file) return 0;
    if (fseek(file, 0, SEEK_END) == 0 && (size = ftell(file)) > 0 && fseek(file, 0, SEEK_SET) == 0) {
        self->bytes = malloc((size_t)size);
        if (self->bytes) self->size = fread(self->bytes, 1, (size_t)size, file);
    }
    fclose(file);
    return self->size > 0;
}

/* THE BUFFERS. A buffer belongs to each slot; the decoder says by the slot's number which one is free. The memory
 * manager gets no pointer of ours, so the buffers are found by a name of the file. */
enum { kSlots = 6 };

static struct {
    uint8_t *bytes[kSlots];
    size_t stride, rows;
} pool;

static void freePool(void) {
    for (int slot = 0; slot < kSlots; ++slot) {
        free(pool.bytes[slot]);
        pool.bytes[slot] = NULL;
    }
}

static void makePool(const VideoFrame *frame) {
    freePool();
    pool.stride = ((size_t)frame->lumaPlane.width + 31) / 32 * 32 * 2;
    pool.rows = ((size_t)frame->lumaPlane.height + 15) / 16 * 16;
    for (int slot = 0; slot < kSlots; ++slot) pool.bytes[slot] = malloc(pool.stride * pool.rows);
}

static int32_t manageMemory(int32_t command, void *pointer) {
    VideoFrame *frame = pointer;
    if (command == 0) makePool(frame);
    if (command == 1) freePool();
    if (command == 2) frame->externalBuffer = frame->bufferSlot >= 0 ? pool.bytes[frame->bufferSlot] : NULL;
    return 0;
}

/* THE PROGRAM. */
static int32_t decode(VideoStream *stream) {
    const uint32_t yuy2 = 'Y' | 'U' << 8 | 'Y' << 16 | (uint32_t)'2' << 24;
    VideoFrame *frame;
    int32_t code = tvkSetVideoConversionType(stream, yuy2);
    if (code == 0) code = tvkSetMemoryManager(stream, manageMemory, kSlots);
    if (code != 0) return code;
    while ((code = tvkGetNextVideoFrame(stream, &frame)) == 0) {
        if (!frame->externalBuffer) continue;
        fwrite(frame->externalBuffer, pool.stride, (size_t)frame->lumaPlane.height, stdout);
        tvkSetMemoryAvailable(stream, frame->bufferSlot); /* the picture has been shown */
    }
    return code;
}

int main(int argc, char **argv) {
    MemorySource source = {.table = {.readUnit = readUnit,
                                     .describe = describe,
                                     .getAbsPosition = getAbsPosition,
                                     .seekAbsPosition = seekAbsPosition,
                                     .getRatePosition = getRatePosition,
                                     .seekRatePosition = seekRatePosition,
                                     .seekTimePosition = seekTimePosition,
                                     .getParameter = getParameter,
                                     .setParameter = setParameter,
                                     .openClose = openClose},
                           .layer = 480};
    VideoStream *stream;
    int32_t code;

    if (argc != 2) {
        fprintf(stderr, "usage: own_buffer FILE\n");
        return 2;
    }
    if (!readFile(&source, argv[1])) {
        fprintf(stderr, "%s cannot be read\n", argv[1]);
        return 1;
    }
    code = tvkCreateVideoStream(&stream, &source.table);
    if (code == 0) {
        code = decode(stream);
        tvkDestroyVideoStream(stream);
    }
    free(source.bytes);
    if (code == tvkErrEndOfStream) return 0;
    fprintf(stderr, "%s: error %d\n", argv[1], (int)code);
    return 1;
}

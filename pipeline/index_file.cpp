// SPDX-License-Identifier: BSD-2-Clause
// Index files: a header bound to one source, ten words, seven arrays, all little-endian.
#include <bit>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "core/calls.h"
#include "core/source_calls.h"
#include "pipeline/index_table.h"

namespace tvk {

namespace {

constexpr char kMagic[16] = "VIDX ver.0.1.03";
constexpr int64_t kHeaderBytes = 72;
constexpr int64_t kEntryBytes = 64;

// What ties a file to its stream.
struct StreamMark {
    uint8_t identity[8];
    TotalSize size;
};

int32_t readMark(VideoStream *stream, StreamMark *mark) {
    const int32_t sized = totalSize(stream, &mark->size);
    if (sized != 0) return sized;
    return sourceParameter(stream, parameterIdentity, mark->identity);
}

// One direction of a file; `good` turns false at the first item that does not come through.
struct Writer {
    FILE *file;
    bool good;

    void bytes(const void *data, size_t count) { good = good && std::fwrite(data, 1, count, file) == count; }

    void word(uint32_t value) {
        uint8_t out[4];
        for (uint32_t i = 0; i < 4; ++i) out[i] = static_cast<uint8_t>(value >> 8 * i);
        bytes(out, sizeof out);
    }

    void doubleWord(uint64_t value) {
        word(static_cast<uint32_t>(value));
        word(static_cast<uint32_t>(value >> 32));
    }
};

struct Reader {
    FILE *file;
    bool good;

    void bytes(void *data, size_t count) {
        good = good && std::fread(data, 1, count, file) == count;
        if (!good) std::memset(data, 0, count);
    }

    uint32_t word() {
        uint8_t in[4];
        bytes(in, sizeof in);
        return static_cast<uint32_t>(in[0]) | static_cast<uint32_t>(in[1]) << 8 | static_cast<uint32_t>(in[2]) << 16 |
               static_cast<uint32_t>(in[3]) << 24;
    }

    uint64_t doubleWord() {
        const uint64_t low = word();
        return low | static_cast<uint64_t>(word()) << 32;
    }
};

void writePositions(Writer &out, const AbsPosition *positions, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i)
        for (uint32_t part : positions[i].words) out.word(part);
}

void writeNumbers(Writer &out, const int32_t *numbers, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) out.word(static_cast<uint32_t>(numbers[i]));
}

void writeTable(Writer &out, const VideoStream *stream, const StreamMark &mark) {
    const VideoIndexTable &index = stream->index;
    out.bytes(kMagic, sizeof kMagic);
    out.bytes(mark.identity, sizeof mark.identity);
    out.word(mark.size.high);
    out.word(mark.size.low);
    out.word(index.frameCount);
    out.word(index.entryCount);
    out.word(index.indexStreamType);
    out.word(index.indexWidth);
    out.word(index.indexHeight);
    out.word(index.indexChromaFormat);
    out.word(std::bit_cast<uint32_t>(stream->frames.framesPerSecond));
    out.word(std::bit_cast<uint32_t>(index.indexDuration));
    out.word(index.indexBitRate);
    out.word(index.maxGroupLength);
    writePositions(out, index.sequencePositions, index.entryCount);
    writePositions(out, index.matrixPositions, index.entryCount);
    writePositions(out, index.picturePositions, index.entryCount);
    writePositions(out, index.groupPositions, index.entryCount);
    writeNumbers(out, index.displayNumbers, index.entryCount);
    writeNumbers(out, index.streamNumbers, index.entryCount);
    for (uint32_t i = 0; i < index.entryCount; ++i) out.doubleWord(std::bit_cast<uint64_t>(index.entryTimes[i]));
}

void readPositions(Reader &in, AbsPosition *positions, uint32_t count) {
    for (uint32_t i = 0; i < count && in.good; ++i)
        for (uint32_t &part : positions[i].words) part = in.word();
}

void readNumbers(Reader &in, int32_t *numbers, uint32_t count) {
    for (uint32_t i = 0; i < count && in.good; ++i) numbers[i] = static_cast<int32_t>(in.word());
}

bool belongsToStream(Reader &in, const StreamMark &mark) {
    char magic[sizeof kMagic];
    uint8_t identity[sizeof mark.identity];
    in.bytes(magic, sizeof magic);
    in.bytes(identity, sizeof identity);
    const uint32_t high = in.word();
    const uint32_t low = in.word();
    return in.good && std::strncmp(magic, kMagic, sizeof kMagic) == 0 &&
           std::memcmp(identity, mark.identity, sizeof identity) == 0 && high == mark.size.high && low == mark.size.low;
}

// Tested ahead of any allocation, so that a small file cannot ask for a large one.
bool holdsEntries(FILE *file, uint32_t entries) {
    const long here = std::ftell(file);
    if (here < 0 || std::fseek(file, 0, SEEK_END) != 0) return false;
    const int64_t length = std::ftell(file);
    return std::fseek(file, here, SEEK_SET) == 0 && length >= kHeaderBytes + kEntryBytes * int64_t{entries};
}

struct FileFacts {
    uint32_t frameCount, entryCount, streamType, width, height, chromaFormat;
    float framesPerSecond, duration;
    uint32_t bitRate, maxGroupLength;
};

FileFacts readFacts(Reader &in) {
    FileFacts facts;
    facts.frameCount = in.word();
    facts.entryCount = in.word();
    facts.streamType = in.word();
    facts.width = in.word();
    facts.height = in.word();
    facts.chromaFormat = in.word();
    facts.framesPerSecond = std::bit_cast<float>(in.word());
    facts.duration = std::bit_cast<float>(in.word());
    facts.bitRate = in.word();
    facts.maxGroupLength = in.word();
    return facts;
}

void readEntries(Reader &in, VideoIndexTable &index, uint32_t entries) {
    readPositions(in, index.sequencePositions, entries);
    readPositions(in, index.matrixPositions, entries);
    readPositions(in, index.picturePositions, entries);
    readPositions(in, index.groupPositions, entries);
    readNumbers(in, index.displayNumbers, entries);
    readNumbers(in, index.streamNumbers, entries);
    for (uint32_t i = 0; i < entries && in.good; ++i) index.entryTimes[i] = std::bit_cast<double>(in.doubleWord());
}

void takeFacts(VideoStream *stream, const FileFacts &facts) {
    VideoIndexTable &index = stream->index;
    index.frameCount = facts.frameCount;
    index.entryCount = facts.entryCount;
    index.indexStreamType = facts.streamType;
    index.indexWidth = facts.width;
    index.indexHeight = facts.height;
    index.indexChromaFormat = facts.chromaFormat;
    index.indexDuration = facts.duration;
    index.indexBitRate = facts.bitRate;
    index.maxGroupLength = facts.maxGroupLength;
    index.indexed = 1;
    stream->frames.framesPerSecond = facts.framesPerSecond;
    // Frames can be made ahead of the first sequence header.
    stream->streamType = facts.streamType;
    stream->headers.sequence.horizontalSize = facts.width;
    stream->headers.sequence.verticalSize = facts.height;
    stream->headers.sequenceExtension.chromaFormat = static_cast<uint8_t>(facts.chromaFormat);
}

int32_t readTable(VideoStream *stream, FILE *file, const StreamMark &mark) {
    Reader in = {file, true};
    if (!belongsToStream(in, mark)) return tvkErrIndexFile;
    const FileFacts facts = readFacts(in);
    if (!in.good || !holdsEntries(file, facts.entryCount)) return tvkErrIndexFile;
    if (!allocateEntries(stream->index, facts.entryCount)) return tvkErrOutOfMemory;
    readEntries(in, stream->index, facts.entryCount);
    if (!in.good) return tvkErrIndexFile;
    takeFacts(stream, facts);
    return 0;
}

bool isEmptyPath(const char *path) {
    return !path || !*path;
}

}  // namespace

int32_t writeIndex(VideoStream *stream, const char *path) {
    if (isEmptyPath(path)) return tvkErrInvalidArgument;
    if (!hasIndex(stream->index)) return tvkErrNotIndexed;
    StreamMark mark = {};
    const int32_t marked = readMark(stream, &mark);
    if (marked != 0) return marked;
    FILE *file = std::fopen(path, "wb");
    if (!file) return tvkErrFileCreate;
    Writer out = {file, true};
    writeTable(out, stream, mark);
    const bool closed = std::fclose(file) == 0;
    return out.good && closed ? 0 : tvkErrFileCreate;
}

// A file that does not fit costs the table that was there before.
int32_t readIndex(VideoStream *stream, const char *path) {
    if (isEmptyPath(path)) return tvkErrInvalidArgument;
    StreamMark mark = {};
    const int32_t marked = readMark(stream, &mark);
    if (marked != 0) return marked;
    FILE *file = std::fopen(path, "rb");
    if (!file) return tvkErrFileOpen;
    const int32_t result = readTable(stream, file, mark);
    std::fclose(file);
    if (result != 0) freeEntries(stream->index);
    return result;
}

}  // namespace tvk

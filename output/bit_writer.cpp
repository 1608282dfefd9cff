// SPDX-License-Identifier: BSD-2-Clause
// The bit writer and its two sinks.
#include "output/bit_writer.h"

#include <algorithm>

namespace tvk {
namespace {

void writeToFile(BitWriter &writer, size_t bytes) {
    static_cast<void>(std::fwrite(writer.buffer, 1, bytes, writer.file));
}

void writeStuffed(BitWriter &writer, size_t bytes) {
    constexpr uint8_t zero = 0;
    const uint8_t *from = writer.buffer, *end = from + bytes;
    while (from < end) {
        const void *found = std::memchr(from, 0xFF, static_cast<size_t>(end - from));
        const uint8_t *behind = found == nullptr ? end : static_cast<const uint8_t *>(found) + 1;
        putBytes(*writer.stuffed, from, static_cast<size_t>(behind - from));
        if (found != nullptr) putBytes(*writer.stuffed, &zero, 1);
        from = behind;
    }
}

// Whole bytes that are held go to the buffer.
void settle(BitWriter &writer) {
    int64_t bits = 31 - writer.bitsLeft;
    for (; bits >= 8; bits -= 8) *writer.current++ = static_cast<uint8_t>(writer.held >> (bits - 8));
    writer.bitsLeft = 31 - bits;
}

void handOn(BitWriter &writer) {
    writer.sink(writer, static_cast<size_t>(writer.current - writer.buffer));
    writer.current = writer.buffer;
}

}  // namespace

void initFileWriter(BitWriter &writer, uint8_t *buffer, std::FILE *file) {
    writer = {buffer, buffer, 0, 31, writeToFile, file, nullptr};
}

void initScanWriter(BitWriter &writer, uint8_t *buffer, BitWriter *target) {
    writer = {buffer, buffer, 0, 31, writeStuffed, nullptr, target};
}

void makeRoom(BitWriter &writer) {
    if (writer.current >= writer.buffer + kBitWriterBytes) handOn(writer);
}

void finishWriter(BitWriter &writer) {
    const auto unfinished = static_cast<int32_t>((writer.bitsLeft + 1) & 7);
    PutBits(writer, 0, unfinished);
    settle(writer);
    handOn(writer);
}

void putBytes(BitWriter &writer, const uint8_t *bytes, size_t count) {
    settle(writer);
    while (count > 0) {
        makeRoom(writer);
        const size_t part = std::min(count, static_cast<size_t>(writer.buffer + kBitWriterBytes - writer.current));
        std::memcpy(writer.current, bytes, part);
        writer.current += part;
        bytes += part;
        count -= part;
    }
}

int32_t PutCode(BitWriter &writer, const CodeTable &table, int32_t symbol) {
    if (symbol < 0 || symbol > table.last) return -1;
    const uint32_t entry = table.codes[symbol];
    if (entry == 0) return -1;
    PutBits(writer, static_cast<int32_t>(entry >> 8), static_cast<int32_t>(entry & 255));
    return 0;
}

}  // namespace tvk

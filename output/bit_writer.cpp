// SPDX-License-Identifier: BSD-2-Clause
// The bit writer and its two sinks.
#include "output/bit_writer.h"

#include <cstring>

namespace tvk {
namespace {

void resetWriter(BitWriter &writer) {
    std::memset(writer.buffer, 0, kBitWriterBytes);
    writer.current = writer.buffer;
    writer.bitsLeft = 31;
}

// First byte of the stream first, on machines of either byte order.
void toFileOrder(uint32_t *words, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const uint32_t word = words[i];
        const uint8_t bytes[4] = {static_cast<uint8_t>(word >> 24), static_cast<uint8_t>(word >> 16),
                                  static_cast<uint8_t>(word >> 8), static_cast<uint8_t>(word)};
        std::memcpy(&words[i], bytes, 4);
    }
}

void writeToFile(BitWriter &writer, size_t bytes) {
    static_cast<void>(std::fwrite(writer.buffer, 1, bytes, writer.file));
}

void writeStuffed(BitWriter &writer, size_t bytes) {
    const uint8_t *from = reinterpret_cast<const uint8_t *>(writer.buffer);
    for (size_t i = 0; i < bytes; ++i) {
        PutBits(*writer.stuffed, from[i], 8);
        if (from[i] == 0xFF) PutBits(*writer.stuffed, 0, 8);
    }
}

void handOn(BitWriter &writer, size_t bytes) {
    toFileOrder(writer.buffer, (bytes + 3) / 4);
    writer.sink(writer, bytes);
    resetWriter(writer);
}

void advance(BitWriter &writer) {
    writer.bitsLeft = 31;
    if (++writer.current == writer.buffer + kBitWriterWords) handOn(writer, kBitWriterBytes);
}

}  // namespace

void initFileWriter(BitWriter &writer, uint32_t *buffer, std::FILE *file) {
    writer = {buffer, buffer, 31, writeToFile, file, nullptr};
    resetWriter(writer);
}

void initScanWriter(BitWriter &writer, uint32_t *buffer, BitWriter *target) {
    writer = {buffer, buffer, 31, writeStuffed, nullptr, target};
    resetWriter(writer);
}

void PutBits(BitWriter &writer, int32_t value, int32_t count) {
    if (count < 1) return;
    const uint32_t bits = static_cast<uint32_t>(value) & (0xFFFFFFFFU >> (32 - count));
    const int32_t behind = writer.bitsLeft + 1 - count;  // bits of the word left free; below 0, bits that don't fit
    if (behind > 0) {
        *writer.current |= bits << behind;
        writer.bitsLeft -= count;
        return;
    }
    *writer.current |= bits >> -behind;
    advance(writer);
    if (behind < 0) {
        *writer.current |= bits << (32 + behind);
        writer.bitsLeft += behind;
    }
}

void finishWriter(BitWriter &writer) {
    const size_t words = static_cast<size_t>(writer.current - writer.buffer);
    const size_t emptyBytes = static_cast<size_t>(writer.bitsLeft + 1) / 8;
    handOn(writer, (words + 1) * 4 - emptyBytes);
}

int32_t PutCode(BitWriter &writer, const CodeTable &table, int32_t symbol) {
    if (symbol < table.first || symbol > table.last) return -1;
    const uint32_t entry = table.codes[symbol - table.first];
    if (entry == 0) return -1;
    PutBits(writer, static_cast<int32_t>(entry >> 8), static_cast<int32_t>(entry & 255));
    return 0;
}

}  // namespace tvk

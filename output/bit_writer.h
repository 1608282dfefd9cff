// SPDX-License-Identifier: BSD-2-Clause
// A stream of bits, gathered in a large buffer and handed on when that is full.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace tvk {

struct BitWriter;

// Takes the first `bytes` bytes of the writer's buffer.
using BitWriterSink = void (*)(BitWriter &writer, size_t bytes);

inline constexpr size_t kBitWriterBytes = 0x200000;
// What a full buffer still takes, so that puts need no look at it one by one.
inline constexpr size_t kBitWriterReserve = 512;

struct BitWriter {
    uint8_t *buffer;   // kBitWriterBytes + kBitWriterReserve
    uint8_t *current;  // where the next four bytes go
    uint64_t held;     // the bits behind those, at its low end; what lies above them is done with
    int64_t bitsLeft;  // how many more it takes before bytes go out, less 1: 31 down to 0
    BitWriterSink sink;
    std::FILE *file;     // where a file writer's bytes go
    BitWriter *stuffed;  // where a scan writer's bytes go
};

// The buffer stays the caller's.
void initFileWriter(BitWriter &writer, uint8_t *buffer, std::FILE *file);
// Its bytes go to `target`, a zero byte behind each 0xFF.
void initScanWriter(BitWriter &writer, uint8_t *buffer, BitWriter *target);

// Hands on what a full buffer holds. Whoever puts bits asks for it at least once in kBitWriterReserve - 8 bytes.
void makeRoom(BitWriter &writer);
// Hands on the bytes in use, the last one filled up with zero bits.
void finishWriter(BitWriter &writer);
// Bytes to a writer that holds whole bytes.
void putBytes(BitWriter &writer, const uint8_t *bytes, size_t count);

// The low `count` bits of `value`, 0 to 32.
[[gnu::always_inline]] inline void PutBits(BitWriter &writer, int32_t value, int32_t count) {
    writer.held = writer.held << count | (static_cast<uint32_t>(value) & ((uint64_t{1} << count) - 1));
    writer.bitsLeft -= count;
    if (writer.bitsLeft >= 0) return;
    const auto word = static_cast<uint32_t>(writer.held >> (-1 - writer.bitsLeft));
    const uint8_t bytes[4] = {static_cast<uint8_t>(word >> 24), static_cast<uint8_t>(word >> 16),
                              static_cast<uint8_t>(word >> 8), static_cast<uint8_t>(word)};
    std::memcpy(writer.current, bytes, 4);
    writer.current += 4;
    writer.bitsLeft += 32;
}

// Codes of the symbols up to `last`: code * 256 + length, 0 for a symbol without one.
struct CodeTable {
    int32_t last;
    uint32_t codes[256];
};

// -1, with nothing written, for a symbol that has no code.
int32_t PutCode(BitWriter &writer, const CodeTable &table, int32_t symbol);

}  // namespace tvk

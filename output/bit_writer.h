// SPDX-License-Identifier: BSD-2-Clause
// A stream of bits, gathered in a large buffer of words and handed on when that is full.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace tvk {

struct BitWriter;

// Takes the first `bytes` bytes of the writer's buffer, which has its words in file order by then.
using BitWriterSink = void (*)(BitWriter &writer, size_t bytes);

inline constexpr size_t kBitWriterBytes = 0x200000;
inline constexpr size_t kBitWriterWords = kBitWriterBytes / 4;

// Words fill from the top bit; those not yet reached are zero.
struct BitWriter {
    uint32_t *buffer;  // kBitWriterWords
    uint32_t *current;
    int32_t bitsLeft;  // free bits of *current less 1: 31 down to 0
    BitWriterSink sink;
    std::FILE *file;     // where a file writer's bytes go
    BitWriter *stuffed;  // where a scan writer's bytes go
};

// Both clear the buffer, of kBitWriterWords words, which stays the caller's.
void initFileWriter(BitWriter &writer, uint32_t *buffer, std::FILE *file);
// Its bytes go to `target`, a zero byte behind each 0xFF.
void initScanWriter(BitWriter &writer, uint32_t *buffer, BitWriter *target);

// The low `count` bits of `value`, 0 to 32.
void PutBits(BitWriter &writer, int32_t value, int32_t count);
// Hands on the bytes in use, the last one filled up with zero bits.
void finishWriter(BitWriter &writer);

// Codes of the symbols from `first` to `last`: code * 256 + length, 0 for a symbol without one.
struct CodeTable {
    int32_t first, last;
    uint32_t codes[256];
};

// -1, with nothing written, for a symbol that has no code.
int32_t PutCode(BitWriter &writer, const CodeTable &table, int32_t symbol);

}  // namespace tvk

// SPDX-License-Identifier: BSD-2-Clause
// The headers within a picture's coded bytes: found, carried over, and changed in a few bits.
#include "coded_bytes.h"

#include <algorithm>

namespace tvk::tool {

namespace {

constexpr size_t kCodeBytes = 4;
enum Code : int {
    codePicture = 0x00,
    codeLastSlice = 0xAF,
    codeSequence = 0xB3,
    codeExtension = 0xB5,
    codeGroup = 0xB8,
};
enum ExtensionId : uint32_t { extensionQuantMatrix = 3, extensionPictureCoding = 8 };
constexpr int kIdBits = 4;

// The next start code at or behind `at`; `size` when there is none.
size_t findCode(const uint8_t *bytes, size_t size, size_t at) {
    for (; at + kCodeBytes <= size; ++at) {
        if (bytes[at] == 0 && bytes[at + 1] == 0 && bytes[at + 2] == 1) return at;
    }
    return size;
}

bool isSlice(int code) {
    return code != codePicture && code <= codeLastSlice;
}

// Calls `visit(code, from, to)` for the elements ahead of the first slice.
template <class Visit>
void eachHeader(const uint8_t *bytes, size_t size, Visit visit) {
    for (size_t at = findCode(bytes, size, 0); at < size;) {
        const uint8_t code = bytes[at + 3];
        if (isSlice(code)) return;
        const size_t next = findCode(bytes, size, at + kCodeBytes);
        visit(code, at, next);
        at = next;
    }
}

uint32_t extensionId(const uint8_t *bytes, size_t from, size_t to) {
    return from + kCodeBytes < to ? bytes[from + kCodeBytes] >> 4 : 0;
}

class BitReader {
  public:
    BitReader(const uint8_t *first, const uint8_t *behind) : at(first), end(behind) {}
    // Bits behind the end are zero.
    uint32_t get(int count) {
        uint32_t value = 0;
        for (; count > 0; --count, ++bit) {
            const uint8_t *byte = at + bit / 8;
            value = value << 1 | (byte < end ? *byte >> (7 - bit % 8) & 1u : 0u);
        }
        return value;
    }

  private:
    const uint8_t *at, *end;
    size_t bit = 0;
};

class BitWriter {
  public:
    void put(uint32_t value, int count) {
        for (int i = count - 1; i >= 0; --i, ++bits) {
            if (bits % 8 == 0) bytes.push_back(0);
            bytes.back() = static_cast<uint8_t>(bytes.back() | (value >> i & 1u) << (7 - bits % 8));
        }
    }
    Bytes bytes;

  private:
    size_t bits = 0;
};

}  // namespace

SplitPicture splitPicture(const uint8_t *bytes, size_t size) {
    SplitPicture split;
    Bytes *into = &split.sequence;
    bool inPicture = false;
    size_t behindHeaders = 0;
    eachHeader(bytes, size, [&](uint8_t code, size_t from, size_t to) {
        if (code == codeSequence) into = &split.sequence;
        if (code == codeGroup) into = &split.group;
        if (code == codePicture) into = &split.picture;
        inPicture = inPicture || code == codePicture;
        into->insert(into->end(), bytes + from, bytes + to);
        behindHeaders = to;
    });
    split.picture.insert(split.picture.end(), bytes + behindHeaders, bytes + size);
    return split;
}

bool hasSequenceHeader(const SplitPicture &split) {
    return split.sequence.size() >= kCodeBytes && split.sequence[3] == codeSequence;
}

uint8_t pictureTypeOf(const Bytes &picture) {
    return picture.size() > kCodeBytes + 1 ? picture[kCodeBytes + 1] >> 3 & 7 : 0;
}

int32_t temporalReferenceOf(const Bytes &picture) {
    if (picture.size() <= kCodeBytes + 1) return 0;
    return picture[kCodeBytes] << 2 | picture[kCodeBytes + 1] >> 6;
}

void lowerTemporalReference(Bytes &picture, int32_t shift) {
    if (picture.size() <= kCodeBytes + 1) return;
    const int32_t lowered = (temporalReferenceOf(picture) - shift) & 1023;
    picture[kCodeBytes] = static_cast<uint8_t>(lowered >> 2);
    picture[kCodeBytes + 1] = static_cast<uint8_t>((picture[kCodeBytes + 1] & 0x3F) | (lowered & 3) << 6);
}

void markClosed(Bytes &group) {
    constexpr size_t kFlags = kCodeBytes + 3;
    constexpr uint8_t kClosedGop = 0x40, kBrokenLink = 0x20;
    if (group.size() > kFlags) group[kFlags] = static_cast<uint8_t>((group[kFlags] | kClosedGop) & ~kBrokenLink);
}

void LoadedMatrices::clear() {
    loaded.fill(false);
}

void LoadedMatrices::hear(const Bytes &picture) {
    const uint8_t *bytes = picture.data();
    eachHeader(bytes, picture.size(), [&](uint8_t code, size_t from, size_t to) {
        if (code != codeExtension || extensionId(bytes, from, to) != extensionQuantMatrix) return;
        BitReader reader(bytes + from + kCodeBytes, bytes + to);
        reader.get(kIdBits);
        for (size_t kind = 0; kind < kKinds; ++kind) {
            if (reader.get(1) == 0) continue;
            loaded[kind] = true;
            if (kind + 2 < kKinds)
                loaded[kind + 2] = false;  // a luma matrix serves chroma too, until chroma has its own
            for (uint8_t &value : values[kind]) value = static_cast<uint8_t>(reader.get(8));
        }
    });
}

// A matrix that the picture loads itself is among them, with the same values.
void LoadedMatrices::insertInto(Bytes &picture) const {
    if (std::none_of(loaded.begin(), loaded.end(), [](bool is) { return is; })) return;
    BitWriter writer;
    writer.put(0x00000100u | codeExtension, 32);
    writer.put(extensionQuantMatrix, kIdBits);
    for (size_t kind = 0; kind < kKinds; ++kind) {
        writer.put(loaded[kind] ? 1 : 0, 1);
        if (!loaded[kind]) continue;
        for (const uint8_t value : values[kind]) writer.put(value, 8);
    }
    size_t place = 0, own = 0, ownEnd = 0;
    const uint8_t *bytes = picture.data();
    eachHeader(bytes, picture.size(), [&](uint8_t code, size_t from, size_t to) {
        if (code != codeExtension) return;
        if (extensionId(bytes, from, to) == extensionPictureCoding) place = to;
        if (extensionId(bytes, from, to) == extensionQuantMatrix) own = from, ownEnd = to;
    });
    if (place == 0) return;
    Bytes made(bytes, bytes + place);
    made.insert(made.end(), writer.bytes.begin(), writer.bytes.end());
    for (size_t i = place; i < picture.size(); ++i) {
        if (i < own || i >= ownEnd) made.push_back(bytes[i]);
    }
    picture = std::move(made);
}

}  // namespace tvk::tool

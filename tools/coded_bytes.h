// SPDX-License-Identifier: BSD-2-Clause
// The headers within a picture's coded bytes: found, carried over, and changed in a few bits.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tvk::tool {

using Bytes = std::vector<uint8_t>;

// The coded bytes of a picture with the headers ahead of it, taken apart. `sequence` and `group` may be empty; each
// has the extensions and user data that follow it.
struct SplitPicture {
    Bytes sequence, group, picture;
};
SplitPicture splitPicture(const uint8_t *bytes, size_t size);

bool hasSequenceHeader(const SplitPicture &split);

// picture_coding_type; 0 when the bytes are too short.
uint8_t pictureTypeOf(const Bytes &picture);

// temporal_reference less `shift`, modulo 1024.
void lowerTemporalReference(Bytes &picture, int32_t shift);
int32_t temporalReferenceOf(const Bytes &picture);

// The group needs nothing from ahead of it: closed_gop set, broken_link cleared.
void markClosed(Bytes &group);

// Quantiser matrices that quant matrix extensions have loaded since the last sequence header. Unlike those of the
// sequence header itself, they would be lost where the pictures that carried them are left out.
class LoadedMatrices {
  public:
    void clear();                           // a sequence header has been read
    void hear(const Bytes &picture);        // takes in the extensions ahead of the picture's slices
    void insertInto(Bytes &picture) const;  // puts them behind the picture coding extension, unless there are none

  private:
    static constexpr size_t kKinds = 4, kValues = 64;
    std::array<bool, kKinds> loaded{};
    std::array<std::array<uint8_t, kValues>, kKinds> values{};
};

}  // namespace tvk::tool

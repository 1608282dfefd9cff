// SPDX-License-Identifier: BSD-2-Clause
// The kinds of row converters and their places in the table.
#pragma once

#include <cstdint>

namespace tvk {

enum class TargetLayout : uint8_t { rgb15, rgb16, rgb24, rgb32, yuy2, uyvy, yv12, yvu9 };

inline constexpr int32_t kTargetLayouts = 8;

struct RowKind {
    TargetLayout layout;
    int32_t chromaFormat;  // 1 4:2:0, 2 4:2:2, 3 4:4:4
    bool interlaced;       // each field keeps its own chroma rows; 4:2:0 to packed alone has such a form
    bool swapRedBlue;      // means something to RGB targets alone

    constexpr bool operator==(const RowKind &) const = default;
};

constexpr bool isRgb(TargetLayout layout) {
    return layout <= TargetLayout::rgb32;
}
constexpr bool isPlanar(TargetLayout layout) {
    return layout >= TargetLayout::yv12;
}

constexpr bool hasInterlacedForm(TargetLayout layout, int32_t chromaFormat) {
    return chromaFormat == 1 && (layout == TargetLayout::yuy2 || layout == TargetLayout::uyvy);
}

// Two interlaced entries, then two parts of eight families of three chroma formats: without and with red and blue
// swapped.
inline constexpr int32_t kInterlacedKinds = 2;
inline constexpr int32_t kKindsOfPart = 3 * kTargetLayouts;
inline constexpr int32_t kRowKinds = kInterlacedKinds + 2 * kKindsOfPart;

constexpr int32_t rowKindIndex(RowKind kind) {
    if (kind.interlaced) return kind.layout == TargetLayout::yuy2 ? 0 : 1;
    const int32_t familyBase = 3 * static_cast<int32_t>(kind.layout);
    return kInterlacedKinds + (kind.swapRedBlue ? kKindsOfPart : 0) + familyBase + kind.chromaFormat - 1;
}

constexpr RowKind rowKindAt(int32_t index) {
    if (index < kInterlacedKinds) return {index == 0 ? TargetLayout::yuy2 : TargetLayout::uyvy, 1, true, false};
    const int32_t entry = (index - kInterlacedKinds) % kKindsOfPart;
    return {static_cast<TargetLayout>(entry / 3), entry % 3 + 1, false, index - kInterlacedKinds >= kKindsOfPart};
}

// The kind whose function serves `kind` too: the table's second part repeats the YUV entries of the first.
constexpr RowKind canonicalRowKind(RowKind kind) {
    if (!isRgb(kind.layout)) kind.swapRedBlue = false;
    return kind;
}

}  // namespace tvk

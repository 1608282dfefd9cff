// SPDX-License-Identifier: BSD-2-Clause
// libmpeg2 as a yardstick: its own planar output, nothing converted.
#include "contenders.h"

#ifdef TVK_HAVE_LIBMPEG2
extern "C" {
#include <inttypes.h>
#include <mpeg2dec/mpeg2.h>
}
#endif

namespace bench {

#ifdef TVK_HAVE_LIBMPEG2
namespace {

uint32_t decodeAll(const Bytes &bytes) {
    mpeg2dec_t *decoder = mpeg2_init();
    if (!decoder) return 0;
    const mpeg2_info_t *info = mpeg2_info(decoder);
    auto *begin = const_cast<uint8_t *>(bytes.data());
    mpeg2_buffer(decoder, begin, begin + bytes.size());
    // It decodes a picture and shows an anchor when more follows: an end code brings out the last ones.
    static uint8_t endCode[] = {0, 0, 1, 0xB7};
    bool ended = false;
    uint32_t frames = 0;
    for (;;) {
        const mpeg2_state_t state = mpeg2_parse(decoder);
        if (state == STATE_BUFFER) {
            if (ended) break;
            mpeg2_buffer(decoder, endCode, endCode + sizeof endCode);
            ended = true;
            continue;
        }
        const bool shown = state == STATE_SLICE || state == STATE_END || state == STATE_INVALID_END;
        if (shown && info->display_fbuf) ++frames;
    }
    mpeg2_close(decoder);
    return frames;
}

}  // namespace

std::vector<Contender> libmpeg2Contenders() {
    return {{"libmpeg2", [](const Bytes &bytes) -> Run { return [&bytes] { return decodeAll(bytes); }; }}};
}

std::string libmpeg2Version() {
    return std::to_string(MPEG2_RELEASE >> 16) + "." + std::to_string(MPEG2_RELEASE >> 8 & 255) + "." +
           std::to_string(MPEG2_RELEASE & 255);
}
#else
std::string libmpeg2Version() {
    return {};
}

std::vector<Contender> libmpeg2Contenders() {
    return {};
}
#endif

}  // namespace bench

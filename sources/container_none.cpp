// SPDX-License-Identifier: BSD-2-Clause
// Builds without libavformat: containers are recognised and refused.
#ifndef TVK_HAVE_LIBAVFORMAT
#include "sources/container_demuxer.h"
#include "tvk_source.h"

namespace tvk::elementary {

int32_t openDemuxer(Demuxer **out, RawBytes &, ContentKind) {
    *out = nullptr;
    return tvkSourceErrMultiplexed;
}

void closeDemuxer(Demuxer *) {}
int trackCount(const Demuxer &) {
    return 0;
}
const ContainerTrack &trackOf(const Demuxer &, int) {
    static constexpr ContainerTrack kNone = {480, 0};
    return kNone;
}
int chosenTrack(const Demuxer &) {
    return 0;
}
void chooseTrack(Demuxer &, int) {}
bool nextPacket(Demuxer &, ContainerPacket &) {
    return false;
}
bool seekFirstPacket(Demuxer &) {
    return false;
}
bool seekPacket(Demuxer &, uint64_t) {
    return false;
}
bool seekNear(Demuxer &, uint64_t) {
    return false;
}
bool seekAhead(Demuxer &, double) {
    return false;
}
const uint8_t *headOfTrack(const Demuxer &, size_t &size) {
    size = 0;
    return nullptr;
}
double statedSeconds(const Demuxer &) {
    return 0.0;
}
bool stampsWrap(const Demuxer &) {
    return false;
}

}  // namespace tvk::elementary
#endif

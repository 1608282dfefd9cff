// SPDX-License-Identifier: BSD-2-Clause
// Containers taken apart by libavformat. Of its codecs nothing is used: what a video stream holds is told by its own
// sequence header, so no decoder and no parser is ever opened.
#ifdef TVK_HAVE_LIBAVFORMAT
#include "sources/container_avformat.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "sources/start_code_scan.h"
#include "sources/unit_table.h"
#include "tvk_source.h"

namespace tvk::elementary {
namespace {

// Reads by large blocks: a transport stream's packets are a few hundred bytes each.
constexpr int kReadBlock = 0x40000;
// Video that has shown no sequence header in so much of the file is no MPEG video.
constexpr uint64_t kProbeBytes = 0x1000000;
// How much further is read for more streams when one is known, in containers that do not list them.
constexpr uint64_t kMoreStreamsBytes = 0x80000;

int readRaw(void *opaque, uint8_t *into, int room) {
    Demuxer &demuxer = *static_cast<Demuxer *>(opaque);
    int32_t failure = 0;
    const size_t got = readBytes(*demuxer.raw, demuxer.ioPosition, into, static_cast<size_t>(room), failure);
    if (got == 0) {
        demuxer.metEnd = true;
        return failure != 0 ? AVERROR(EIO) : AVERROR_EOF;
    }
    demuxer.ioPosition += got;
    return static_cast<int>(got);
}

int64_t seekRaw(void *opaque, int64_t offset, int whence) {
    Demuxer &demuxer = *static_cast<Demuxer *>(opaque);
    const int64_t size = static_cast<int64_t>(demuxer.raw->size);
    switch (whence & ~AVSEEK_FORCE) {
        case AVSEEK_SIZE:
            return size;
        case SEEK_CUR:
            offset += static_cast<int64_t>(demuxer.ioPosition);
            break;
        case SEEK_END:
            offset += size;
            break;
        case SEEK_SET:
            break;
        default:
            return AVERROR(EINVAL);
    }
    if (offset < 0) return AVERROR(EINVAL);
    demuxer.ioPosition = static_cast<uint64_t>(offset);
    return offset;
}

const char *formatName(ContentKind kind) {
    switch (kind) {
        case ContentKind::program:
            return "mpeg";
        case ContentKind::transport:
            return "mpegts";
        case ContentKind::mxf:
            return "mxf";
        case ContentKind::matroska:
            return "matroska";
        case ContentKind::avi:
            return "avi";
        default:
            return "mov";
    }
}

// Its messages go to standard error unless told otherwise. A program that has chosen a level keeps it.
void silence() {
    if (av_log_get_level() == AV_LOG_INFO) av_log_set_level(AV_LOG_QUIET);
}

void setOptions(AVDictionary **options, ContentKind kind) {
    // Files that name other files stay alone.
    av_dict_set(options, "protocol_whitelist", "none", 0);
    // An edit list may leave pictures out; their numbers are to be those of the stream.
    if (kind == ContentKind::mov) av_dict_set(options, "advanced_editlist", "0", 0);
}

bool mayBeVideo(const AVStream &stream) {
    const AVCodecParameters &codec = *stream.codecpar;
    if (codec.codec_type != AVMEDIA_TYPE_VIDEO && codec.codec_type != AVMEDIA_TYPE_UNKNOWN) return false;
    return codec.codec_id == AV_CODEC_ID_MPEG1VIDEO || codec.codec_id == AV_CODEC_ID_MPEG2VIDEO ||
           codec.codec_id == AV_CODEC_ID_NONE || codec.codec_id == AV_CODEC_ID_PROBE;
}

bool isKnownVideo(const AVStream &stream) {
    const AVCodecID id = stream.codecpar->codec_id;
    return id == AV_CODEC_ID_MPEG1VIDEO || id == AV_CODEC_ID_MPEG2VIDEO;
}

// The width that a sequence header in these bytes tells; 0 without one.
uint32_t widthOfHeader(const uint8_t *bytes, size_t size) {
    constexpr size_t kHeaderBytes = 8;
    const uint8_t *end = bytes + size;
    for (const uint8_t *at = bytes; (at = findStartCode(at, end)) != end; at += kStartCodeBytes) {
        if (at[3] != (kCodeSequenceHeader & 0xFF) || static_cast<size_t>(end - at) < kHeaderBytes) continue;
        return std::max<uint32_t>(static_cast<uint32_t>(at[4] << 4 | at[5] >> 4), 1);
    }
    return 0;
}

// The layer is the stream's identifier in a program stream, E0 to EF with 0x100 added; elsewhere streams are counted.
int32_t layerOf(const Demuxer &demuxer, int stream) {
    const int id = demuxer.context->streams[stream]->id;
    if (demuxer.kind == ContentKind::program && id >= 480 && id <= 495) return id;
    return 480 + std::min(demuxer.trackCount, kMostTracks - 1);
}

void addTrack(Demuxer &demuxer, int stream, uint32_t width) {
    for (int i = 0; i < demuxer.trackCount; ++i) {
        if (demuxer.streams[i] == stream) return;
    }
    if (demuxer.trackCount == kMostTracks) return;
    demuxer.tracks[demuxer.trackCount] = {layerOf(demuxer, stream), width};
    demuxer.streams[demuxer.trackCount] = stream;
    ++demuxer.trackCount;
}

// Finds the video streams by the headers that they show. What has been read waits to be read again; false when there is
// no memory for that.
bool probeTracks(Demuxer &demuxer) {
    uint64_t found = 0;  // where the first one showed
    bool any = false;
    while (readAny(demuxer)) {
        const AVPacket &packet = *demuxer.packet;
        const uint64_t position = packet.pos < 0 ? 0 : static_cast<uint64_t>(packet.pos);
        const bool video = mayBeVideo(*demuxer.context->streams[packet.stream_index]);
        const uint32_t width = video ? widthOfHeader(packet.data, static_cast<size_t>(packet.size)) : 0;
        if (width != 0) {
            addTrack(demuxer, packet.stream_index, width);
            if (!any) found = position;
            any = true;
        }
        if (demuxer.metEnd && demuxer.raw->growing) break;
        if (video && !queuePacket(demuxer)) return false;
        if (position > (any ? found + kMoreStreamsBytes : kProbeBytes)) break;
    }
    return true;
}

void listTracks(Demuxer &demuxer) {
    for (unsigned i = 0; i < demuxer.context->nb_streams; ++i) {
        const AVStream &stream = *demuxer.context->streams[i];
        if (!isKnownVideo(stream)) continue;
        addTrack(demuxer, static_cast<int>(i), static_cast<uint32_t>(std::max(stream.codecpar->width, 1)));
    }
}

int widestTrack(const Demuxer &demuxer) {
    const ContainerTrack *tracks = demuxer.tracks;
    const auto widest = std::max_element(tracks, tracks + demuxer.trackCount,
                                         [](const auto &a, const auto &b) { return a.width < b.width; });
    return static_cast<int>(widest - tracks);
}

int32_t prepare(Demuxer &demuxer) {
    int32_t failure = openContext(demuxer);
    if (failure == tvkSourceErrContainer && !demuxer.raw->sequential) {
        // Tables at the end of the file that are cut off or damaged; its packets can be read without them.
        closeContext(demuxer);
        demuxer.inOrder = true;
        failure = openContext(demuxer);
    }
    if (failure != 0) return failure;
    if (listsItsStreams(demuxer.kind)) {
        listTracks(demuxer);
    } else if (!probeTracks(demuxer)) {
        return tvkErrOutOfMemory;
    }
    if (demuxer.trackCount == 0) return tvkSourceErrNoVideo;
    demuxer.chosen = widestTrack(demuxer);
    discardOthers(demuxer);
    return 0;
}

}  // namespace

bool listsItsStreams(ContentKind kind) {
    return kind != ContentKind::program && kind != ContentKind::transport;
}

void discardOthers(Demuxer &demuxer) {
    const int wanted = demuxer.streams[demuxer.chosen];
    for (unsigned i = 0; i < demuxer.context->nb_streams; ++i) {
        demuxer.context->streams[i]->discard = static_cast<int>(i) == wanted ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
}

int32_t openContext(Demuxer &demuxer) {
    uint8_t *block = static_cast<uint8_t *>(av_malloc(kReadBlock));
    demuxer.ioPosition = 0;
    demuxer.io = block == nullptr ? nullptr
                                  : avio_alloc_context(block, kReadBlock, 0, &demuxer, readRaw, nullptr,
                                                       demuxer.raw->sequential || demuxer.inOrder ? nullptr : seekRaw);
    if (demuxer.io == nullptr) {
        av_free(block);
        return tvkErrOutOfMemory;
    }
    demuxer.context = avformat_alloc_context();
    if (demuxer.context == nullptr) return tvkErrOutOfMemory;
    demuxer.context->pb = demuxer.io;
    // Packets as the file has them, with the time stamps that the file has: no parser cuts or joins them.
    demuxer.context->flags |= AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN | AVFMT_FLAG_CUSTOM_IO;
    demuxer.context->correct_ts_overflow = 0;
    AVDictionary *options = nullptr;
    setOptions(&options, demuxer.kind);
    // On failure it frees the context.
    const int result =
        avformat_open_input(&demuxer.context, "", av_find_input_format(formatName(demuxer.kind)), &options);
    av_dict_free(&options);
    if (result == AVERROR(ENOMEM)) return tvkErrOutOfMemory;
    return result < 0 ? tvkSourceErrContainer : 0;
}

void closeContext(Demuxer &demuxer) {
    dropState(demuxer);
    avformat_close_input(&demuxer.context);
    if (demuxer.io != nullptr) av_freep(&demuxer.io->buffer);
    avio_context_free(&demuxer.io);
}

bool reopen(Demuxer &demuxer) {
    closeContext(demuxer);
    if (openContext(demuxer) != 0) return false;
    if (demuxer.streams[demuxer.chosen] >= static_cast<int>(demuxer.context->nb_streams)) return false;
    discardOthers(demuxer);
    return true;
}

int32_t openDemuxer(Demuxer **out, RawBytes &raw, ContentKind kind) {
    *out = nullptr;
    silence();
    Demuxer *demuxer = static_cast<Demuxer *>(std::calloc(1, sizeof(Demuxer)));
    if (demuxer == nullptr) return tvkErrOutOfMemory;
    demuxer->raw = &raw;
    demuxer->kind = kind;
    demuxer->queueEnd = &demuxer->queue;
    demuxer->fresh = true;
    demuxer->packet = av_packet_alloc();
    const int32_t failure = demuxer->packet == nullptr ? tvkErrOutOfMemory : prepare(*demuxer);
    if (failure != 0) {
        closeDemuxer(demuxer);
        return failure;
    }
    *out = demuxer;
    return 0;
}

void closeDemuxer(Demuxer *demuxer) {
    if (demuxer == nullptr) return;
    if (demuxer->packet != nullptr) closeContext(*demuxer);
    av_packet_free(&demuxer->packet);
    std::free(demuxer);
}

int trackCount(const Demuxer &demuxer) {
    return demuxer.trackCount;
}

const ContainerTrack &trackOf(const Demuxer &demuxer, int number) {
    return demuxer.tracks[number];
}

int chosenTrack(const Demuxer &demuxer) {
    return demuxer.chosen;
}

const uint8_t *headOfTrack(const Demuxer &demuxer, size_t &size) {
    const AVCodecParameters *codec = streamOf(demuxer)->codecpar;
    size = codec->extradata != nullptr && codec->extradata_size > 0 ? static_cast<size_t>(codec->extradata_size) : 0;
    return widthOfHeader(codec->extradata, size) != 0 ? codec->extradata : nullptr;
}

double statedSeconds(const Demuxer &demuxer) {
    if (!listsItsStreams(demuxer.kind)) return 0.0;
    const AVStream &stream = *streamOf(demuxer);
    if (stream.duration > 0) return static_cast<double>(stream.duration) * av_q2d(stream.time_base);
    const int64_t whole = demuxer.context->duration;
    return whole > 0 ? static_cast<double>(whole) / AV_TIME_BASE : 0.0;
}

bool stampsWrap(const Demuxer &demuxer) {
    return !listsItsStreams(demuxer.kind);
}

}  // namespace tvk::elementary
#endif

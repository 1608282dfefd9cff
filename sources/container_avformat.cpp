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
// Errors in a row, each behind what could not be read, before a file counts as ended.
constexpr int kMostErrors = 4096;

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
    if (kind == ContentKind::transport) av_dict_set(options, "merge_pmt_versions", "1", 0);
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

// Program and transport streams have no list at their front that could be relied on.
bool listsItsStreams(ContentKind kind) {
    return kind != ContentKind::program && kind != ContentKind::transport;
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

bool queuePacket(Demuxer &demuxer) {
    QueuedPacket *queued = static_cast<QueuedPacket *>(std::calloc(1, sizeof(QueuedPacket)));
    if (queued == nullptr) return false;
    queued->packet = av_packet_alloc();
    if (queued->packet == nullptr) {
        std::free(queued);
        return false;
    }
    av_packet_move_ref(queued->packet, demuxer.packet);
    *demuxer.queueEnd = queued;
    demuxer.queueEnd = &queued->next;
    return true;
}

bool popQueue(Demuxer &demuxer) {
    QueuedPacket *queued = demuxer.queue;
    if (queued == nullptr) return false;
    demuxer.queue = queued->next;
    if (demuxer.queue == nullptr) demuxer.queueEnd = &demuxer.queue;
    av_packet_unref(demuxer.packet);
    av_packet_move_ref(demuxer.packet, queued->packet);
    av_packet_free(&queued->packet);
    std::free(queued);
    return true;
}

void clearQueue(Demuxer &demuxer) {
    while (popQueue(demuxer)) {
    }
    av_packet_unref(demuxer.packet);
}

// The next packet of any stream. False at the end.
bool readAny(Demuxer &demuxer) {
    for (int errors = 0; errors < kMostErrors; ++errors) {
        av_packet_unref(demuxer.packet);
        const int result = av_read_frame(demuxer.context, demuxer.packet);
        if (result >= 0) return true;
        if (result == AVERROR_EOF || result == AVERROR(ENOMEM)) return false;
        if (avio_feof(demuxer.io)) return false;
    }
    return false;
}

// Finds the video streams by the headers that they show. What has been read waits to be read again.
void probeTracks(Demuxer &demuxer) {
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
        if (demuxer.metEnd && demuxer.raw->growing) return;
        if (video && !queuePacket(demuxer)) return;
        if (position > (any ? found + kMoreStreamsBytes : kProbeBytes)) return;
    }
}

void listTracks(Demuxer &demuxer) {
    for (unsigned i = 0; i < demuxer.context->nb_streams; ++i) {
        const AVStream &stream = *demuxer.context->streams[i];
        if (!isKnownVideo(stream)) continue;
        addTrack(demuxer, static_cast<int>(i), static_cast<uint32_t>(std::max(stream.codecpar->width, 1)));
    }
}

// The streams that are not wanted cost nothing then.
void discardOthers(Demuxer &demuxer) {
    const int wanted = demuxer.streams[demuxer.chosen];
    for (unsigned i = 0; i < demuxer.context->nb_streams; ++i) {
        demuxer.context->streams[i]->discard = static_cast<int>(i) == wanted ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
}

// Opens libavformat's part; again after a file has grown.
int32_t openContext(Demuxer &demuxer) {
    uint8_t *block = static_cast<uint8_t *>(av_malloc(kReadBlock));
    demuxer.ioPosition = 0;
    demuxer.io = block == nullptr ? nullptr
                                  : avio_alloc_context(block, kReadBlock, 0, &demuxer, readRaw, nullptr,
                                                       demuxer.raw->sequential ? nullptr : seekRaw);
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
    clearQueue(demuxer);
    avformat_close_input(&demuxer.context);
    if (demuxer.io != nullptr) av_freep(&demuxer.io->buffer);
    avio_context_free(&demuxer.io);
}

// The same stream in a context opened anew.
bool reopen(Demuxer &demuxer) {
    closeContext(demuxer);
    demuxer.runPackets = 0;
    if (openContext(demuxer) != 0) return false;
    if (demuxer.streams[demuxer.chosen] >= static_cast<int>(demuxer.context->nb_streams)) return false;
    discardOthers(demuxer);
    return true;
}

int widestTrack(const Demuxer &demuxer) {
    const ContainerTrack *tracks = demuxer.tracks;
    const auto widest = std::max_element(tracks, tracks + demuxer.trackCount,
                                         [](const auto &a, const auto &b) { return a.width < b.width; });
    return static_cast<int>(widest - tracks);
}

int32_t prepare(Demuxer &demuxer) {
    const int32_t failure = openContext(demuxer);
    if (failure != 0) return failure;
    if (listsItsStreams(demuxer.kind)) {
        listTracks(demuxer);
    } else {
        probeTracks(demuxer);
    }
    if (demuxer.trackCount == 0) return tvkSourceErrNoVideo;
    demuxer.chosen = widestTrack(demuxer);
    discardOthers(demuxer);
    return 0;
}

// The bytes of a payload that one KLV holds as a whole clip are reached by their own place in it.
bool placeInClip(Demuxer &demuxer, const AVPacket &packet, uint64_t &offset) {
    constexpr uint64_t kKeyBytes = 16;
    uint8_t length;
    int32_t failure = 0;
    const uint64_t position = static_cast<uint64_t>(packet.pos);
    if (readBytes(*demuxer.raw, position + kKeyBytes, &length, 1, failure) != 1) return false;
    const uint64_t payload = position + kKeyBytes + 1 + ((length & 0x80) != 0 ? length & 0x7Fu : 0);
    const int64_t end = avio_tell(demuxer.io);
    if (end < packet.size || static_cast<uint64_t>(end - packet.size) < payload) return false;
    offset = static_cast<uint64_t>(end - packet.size) - payload;
    return true;
}

double seconds(int64_t stamp, const AVStream &stream) {
    return stamp == AV_NOPTS_VALUE ? std::numeric_limits<double>::quiet_NaN()
                                   : static_cast<double>(stamp) * av_q2d(stream.time_base);
}

// Tells of the packet that has been read what the source needs. Pieces at the same place continue each other.
void present(Demuxer &demuxer, ContainerPacket &packet) {
    const AVPacket &from = *demuxer.packet;
    const uint64_t position = from.pos < 0 ? demuxer.runPosition : static_cast<uint64_t>(from.pos);
    uint64_t offset = 0;
    const bool continues = demuxer.runPackets != 0 && position == demuxer.runPosition;
    if (demuxer.kind == ContentKind::mxf && demuxer.queue == nullptr && placeInClip(demuxer, from, offset)) {
    } else if (continues) {
        offset = demuxer.runEnd;
    }
    demuxer.runPackets = continues ? demuxer.runPackets + 1 : 1;
    demuxer.runPosition = position;
    demuxer.runEnd = offset + static_cast<uint64_t>(from.size);
    const AVStream &stream = *demuxer.context->streams[from.stream_index];
    packet = {from.data, static_cast<size_t>(from.size), position,
              offset,    seconds(from.pts, stream),      seconds(from.dts, stream)};
}

// The next packet of the chosen stream that holds anything, in demuxer.packet.
bool readChosen(Demuxer &demuxer) {
    const int wanted = demuxer.streams[demuxer.chosen];
    for (;;) {
        if (demuxer.held) {
            demuxer.held = false;
            return true;
        }
        demuxer.metEnd = false;
        if (!popQueue(demuxer) && !readAny(demuxer)) return false;
        // What was cut off by the end of what has been written so far comes again when there is more.
        if (demuxer.metEnd && demuxer.raw->growing) return false;
        if (demuxer.packet->stream_index == wanted && demuxer.packet->size > 0) return true;
    }
}

void dropState(Demuxer &demuxer) {
    clearQueue(demuxer);
    demuxer.held = false;
    demuxer.runPackets = 0;
}

// Reads on to the packet at exactly `position`, and holds it. False when it has been passed or is not there.
bool landOn(Demuxer &demuxer, uint64_t position) {
    while (readChosen(demuxer)) {
        if (demuxer.packet->pos < 0) continue;
        const uint64_t found = static_cast<uint64_t>(demuxer.packet->pos);
        if (found == position) {
            demuxer.held = true;
            return true;
        }
        if (found > position) return false;
    }
    return false;
}

bool seekByte(Demuxer &demuxer, uint64_t byte) {
    dropState(demuxer);
    return av_seek_frame(demuxer.context, -1, static_cast<int64_t>(byte), AVSEEK_FLAG_BYTE) >= 0;
}

bool seeksByByte(const Demuxer &demuxer) {
    return demuxer.kind == ContentKind::program || demuxer.kind == ContentKind::transport ||
           demuxer.kind == ContentKind::mxf;
}

// The last entry of libavformat's index that begins at or ahead of a byte; -1 without one.
int entryBefore(Demuxer &demuxer, uint64_t byte) {
    AVStream *stream = demuxer.context->streams[demuxer.streams[demuxer.chosen]];
    int low = 0, high = avformat_index_get_entries_count(stream);
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (static_cast<uint64_t>(avformat_index_get_entry(stream, middle)->pos) <= byte) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low - 1;
}

bool seekEntry(Demuxer &demuxer, int entry) {
    const int number = demuxer.streams[demuxer.chosen];
    AVStream *stream = demuxer.context->streams[number];
    if (entry < 0 || entry >= avformat_index_get_entries_count(stream)) return false;
    const int64_t stamp = avformat_index_get_entry(stream, entry)->timestamp;
    dropState(demuxer);
    // Matroska's entries are clusters, the others' packets: there every one is to be reached.
    const int flags =
        demuxer.kind == ContentKind::matroska ? AVSEEK_FLAG_BACKWARD : AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY;
    return av_seek_frame(demuxer.context, number, stamp, flags) >= 0;
}

// Any way of going near is good as long as the packets from there on come without a gap up to the one that is wanted;
// that it is the one is seen by its place. Should all fail there is the way from the very start.
bool seekByEntries(Demuxer &demuxer, uint64_t position) {
    int back = 0;
    for (int entry = entryBefore(demuxer, position); entry >= 0; entry -= back) {
        if (seekEntry(demuxer, entry) && landOn(demuxer, position)) return true;
        back = back * 2 + 1;
    }
    return false;
}

bool seekByBytes(Demuxer &demuxer, uint64_t position) {
    constexpr uint64_t kSaferDistance = 0x100000;
    if (seekByte(demuxer, position) && landOn(demuxer, position)) return true;
    return position > kSaferDistance && seekByte(demuxer, position - kSaferDistance) && landOn(demuxer, position);
}

// Within a clip that one KLV holds: the piece that begins at the wanted byte.
bool seekInClip(Demuxer &demuxer, uint64_t position, uint64_t offset) {
    ContainerPacket packet;
    if (!seekByte(demuxer, position) || !landOn(demuxer, position) || !nextPacket(demuxer, packet)) return false;
    if (packet.offset + packet.size > offset) {
        demuxer.held = true;
        demuxer.runPackets = 0;
        return true;
    }
    const uint64_t payload = static_cast<uint64_t>(avio_tell(demuxer.io)) - packet.size - packet.offset;
    return seekByte(demuxer, payload + offset) && landOn(demuxer, position);
}

// Goes on where a growing file ended when it was read last. Tables of packets have to be read anew.
bool resume(Demuxer &demuxer) {
    if (demuxer.raw->size == demuxer.sizeAtEnd) return false;
    const uint64_t position = demuxer.runPosition;
    const uint32_t read = demuxer.runPackets;
    if (!seeksByByte(demuxer) && !reopen(demuxer)) return false;
    if (read == 0) return seeksByByte(demuxer) ? seekByte(demuxer, 0) : true;
    if (!seekPacket(demuxer, position, 0)) return false;
    ContainerPacket packet;
    for (uint32_t i = 0; i < read; ++i) {
        if (!nextPacket(demuxer, packet)) return false;
    }
    return true;
}

}  // namespace

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

void chooseTrack(Demuxer &demuxer, int number) {
    number = std::clamp(number, 0, demuxer.trackCount - 1);
    if (number == demuxer.chosen) return;
    demuxer.chosen = number;
    discardOthers(demuxer);
    if (!demuxer.fresh && !demuxer.raw->sequential)
        demuxer.fresh = seeksByByte(demuxer) ? seekByte(demuxer, 0) : reopen(demuxer);
}

bool nextPacket(Demuxer &demuxer, ContainerPacket &packet) {
    if (demuxer.waiting) {
        demuxer.waiting = false;
        refreshSize(*demuxer.raw);
        if (demuxer.raw->growing && !resume(demuxer)) {
            demuxer.waiting = true;
            return false;
        }
    }
    if (readChosen(demuxer)) {
        present(demuxer, packet);
        if (demuxer.fresh) demuxer.firstPosition = packet.position;
        demuxer.fresh = false;
        return true;
    }
    demuxer.waiting = demuxer.raw->growing;
    demuxer.sizeAtEnd = demuxer.raw->size;
    return false;
}

bool seekFirstPacket(Demuxer &demuxer) {
    if (demuxer.fresh) return true;
    demuxer.waiting = false;
    if (demuxer.raw->sequential) return false;
    return seeksByByte(demuxer) ? seekByBytes(demuxer, demuxer.firstPosition) : reopen(demuxer);
}

bool seekPacket(Demuxer &demuxer, uint64_t position, uint64_t offset) {
    demuxer.waiting = false;
    if (demuxer.raw->sequential) return false;
    if (demuxer.kind == ContentKind::mxf && offset != 0 && seekInClip(demuxer, position, offset)) return true;
    if (seeksByByte(demuxer) ? seekByBytes(demuxer, position) : seekByEntries(demuxer, position)) return true;
    // Streams that the container does not list keep their numbers only in a context that has met them.
    const bool atStart = seeksByByte(demuxer) ? seekByte(demuxer, 0) : reopen(demuxer);
    return atStart && landOn(demuxer, position);
}

bool seekNear(Demuxer &demuxer, uint64_t byte) {
    demuxer.waiting = false;
    if (demuxer.raw->sequential) return false;
    if (seeksByByte(demuxer)) return seekByte(demuxer, byte);
    const int entry = entryBefore(demuxer, byte);
    return entry < 0 ? reopen(demuxer) : seekEntry(demuxer, entry);
}

const uint8_t *headOfTrack(const Demuxer &demuxer, size_t &size) {
    const AVCodecParameters *codec = demuxer.context->streams[demuxer.streams[demuxer.chosen]]->codecpar;
    size = codec->extradata != nullptr && codec->extradata_size > 0 ? static_cast<size_t>(codec->extradata_size) : 0;
    return widthOfHeader(codec->extradata, size) != 0 ? codec->extradata : nullptr;
}

double statedSeconds(const Demuxer &demuxer) {
    if (!listsItsStreams(demuxer.kind)) return 0.0;
    const AVStream &stream = *demuxer.context->streams[demuxer.streams[demuxer.chosen]];
    if (stream.duration > 0) return static_cast<double>(stream.duration) * av_q2d(stream.time_base);
    const int64_t whole = demuxer.context->duration;
    return whole > 0 ? static_cast<double>(whole) / AV_TIME_BASE : 0.0;
}

bool stampsWrap(const Demuxer &demuxer) {
    return !listsItsStreams(demuxer.kind);
}

}  // namespace tvk::elementary
#endif

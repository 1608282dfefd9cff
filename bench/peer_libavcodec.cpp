// SPDX-License-Identifier: BSD-2-Clause
// libavcodec as a yardstick. The stream is split into packets ahead of the clock.
#include "contenders.h"

#ifdef TVK_HAVE_LIBAVCODEC
#include <memory>
extern "C" {
#include <libavcodec/avcodec.h>
}
#endif

namespace bench {

#ifdef TVK_HAVE_LIBAVCODEC
namespace {

struct PacketDeleter {
    void operator()(AVPacket *p) const { av_packet_free(&p); }
};
struct ContextDeleter {
    void operator()(AVCodecContext *c) const { avcodec_free_context(&c); }
};
struct FrameDeleter {
    void operator()(AVFrame *f) const { av_frame_free(&f); }
};
using Packet = std::unique_ptr<AVPacket, PacketDeleter>;
using Context = std::unique_ptr<AVCodecContext, ContextDeleter>;
using Frame = std::unique_ptr<AVFrame, FrameDeleter>;

Context openDecoder(int threads, int lowres) {
    const AVCodec *codec = avcodec_find_decoder(AV_CODEC_ID_MPEG2VIDEO);
    Context context(avcodec_alloc_context3(codec));
    context->thread_count = threads;
    context->lowres = lowres;
    if (avcodec_open2(context.get(), codec, nullptr) < 0) return nullptr;
    return context;
}

std::vector<Packet> splitPackets(const Bytes &bytes) {
    std::vector<Packet> packets;
    AVCodecParserContext *parser = av_parser_init(AV_CODEC_ID_MPEG2VIDEO);
    const Context context = openDecoder(1, 0);
    Bytes padded(bytes);
    padded.resize(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE);
    size_t position = 0;
    for (bool flushed = false; !flushed;) {
        const int left = static_cast<int>(bytes.size() - position);
        uint8_t *data = nullptr;
        int size = 0;
        const int used = av_parser_parse2(parser, context.get(), &data, &size, padded.data() + position, left,
                                          AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
        position += static_cast<size_t>(used);
        if (size > 0) {
            Packet packet(av_packet_alloc());
            av_new_packet(packet.get(), size);
            std::copy_n(data, size, packet->data);
            packets.push_back(std::move(packet));
        }
        flushed = left == 0 && size == 0;
    }
    av_parser_close(parser);
    return packets;
}

uint32_t receiveAll(AVCodecContext *context, AVFrame *frame) {
    uint32_t frames = 0;
    while (avcodec_receive_frame(context, frame) >= 0) ++frames;
    return frames;
}

uint32_t decodeAll(const std::vector<Packet> &packets, int threads, int lowres) {
    const Context context = openDecoder(threads, lowres);
    if (!context) return 0;
    const Frame frame(av_frame_alloc());
    uint32_t frames = 0;
    for (const Packet &packet : packets) {
        avcodec_send_packet(context.get(), packet.get());
        frames += receiveAll(context.get(), frame.get());
    }
    avcodec_send_packet(context.get(), nullptr);
    return frames + receiveAll(context.get(), frame.get());
}

Contender contender(const char *name, int threads, int lowres) {
    return {name, [=](const Bytes &bytes) -> Run {
                auto packets = std::make_shared<std::vector<Packet>>(splitPackets(bytes));
                return [=] { return decodeAll(*packets, threads, lowres); };
            }};
}

}  // namespace

std::vector<Contender> libavcodecContenders() {
    av_log_set_level(AV_LOG_QUIET);
    return {contender("libavcodec", 1, 0), contender("libavcodec 2 threads", 2, 0),
            contender("libavcodec lowres 1", 1, 1), contender("libavcodec lowres 2", 1, 2),
            contender("libavcodec lowres 3", 1, 3)};
}

std::string libavcodecVersion() {
    const unsigned version = avcodec_version();
    return std::to_string(version >> 16) + "." + std::to_string(version >> 8 & 255) + "." +
           std::to_string(version & 255);
}
#else
std::string libavcodecVersion() {
    return {};
}

std::vector<Contender> libavcodecContenders() {
    return {};
}
#endif

}  // namespace bench

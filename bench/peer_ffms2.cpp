// SPDX-License-Identifier: BSD-2-Clause
// Frames by number from FFMS2.
#include "seek_exactness.h"

#ifdef TVK_HAVE_FFMS2
#include <ffms.h>

namespace tvk::bench {
namespace {

class PeerFrames : public FrameServer {
  public:
    explicit PeerFrames(const std::string &path) {
        char text[512];
        FFMS_ErrorInfo error = {FFMS_ERROR_SUCCESS, FFMS_ERROR_SUCCESS, sizeof text, text};
        FFMS_Init(0, 0);
        FFMS_Indexer *indexer = FFMS_CreateIndexer(path.c_str(), &error);
        if (indexer == nullptr) return;
        FFMS_Index *index = FFMS_DoIndexing2(indexer, FFMS_IEH_ABORT, &error);
        if (index == nullptr) return;
        const int track = FFMS_GetFirstTrackOfType(index, FFMS_TYPE_VIDEO, &error);
        constexpr int kThreads = 1;
        if (track >= 0) {
            source = FFMS_CreateVideoSource(path.c_str(), track, index, kThreads, FFMS_SEEK_NORMAL, &error);
        }
        FFMS_DestroyIndex(index);
    }
    ~PeerFrames() override {
        if (source != nullptr) FFMS_DestroyVideoSource(source);
    }
    bool isOpen() const { return source != nullptr; }

    int frameCount() const override { return source == nullptr ? 0 : FFMS_GetVideoProperties(source)->NumFrames; }

    bool frame(int number, uint64_t &digest) override {
        char text[512];
        FFMS_ErrorInfo error = {FFMS_ERROR_SUCCESS, FFMS_ERROR_SUCCESS, sizeof text, text};
        const FFMS_Frame *found = FFMS_GetFrame(source, number, &error);
        if (found == nullptr) return false;
        const bool halfHeight = found->EncodedPixelFormat == FFMS_GetPixFmt("yuv420p");
        const int width = found->EncodedWidth, height = found->EncodedHeight;
        digest = kDigestStart;
        addToDigest(digest, found->Data[0], width, height, found->Linesize[0]);
        const int chromaHeight = halfHeight ? (height + 1) / 2 : height;
        for (int plane = 1; plane < 3; ++plane) {
            addToDigest(digest, found->Data[plane], (width + 1) / 2, chromaHeight, found->Linesize[plane]);
        }
        return true;
    }

    std::vector<uint64_t> linear(const std::string &path) override {
        std::vector<uint64_t> digests;
        PeerFrames fresh(path);
        for (int i = 0; i < fresh.frameCount(); ++i) {
            uint64_t digest = 0;
            if (!fresh.frame(i, digest)) break;
            digests.push_back(digest);
        }
        return digests;
    }

  private:
    FFMS_VideoSource *source = nullptr;
};

}  // namespace

bool hasPeerFrames() {
    return true;
}

std::unique_ptr<FrameServer> openPeerFrames(const std::string &path) {
    auto frames = std::make_unique<PeerFrames>(path);
    if (!frames->isOpen()) return nullptr;
    return frames;
}

}  // namespace tvk::bench
#else
namespace tvk::bench {

bool hasPeerFrames() {
    return false;
}

std::unique_ptr<FrameServer> openPeerFrames(const std::string &) {
    return nullptr;
}

}  // namespace tvk::bench
#endif

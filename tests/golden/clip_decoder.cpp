// SPDX-License-Identifier: BSD-2-Clause
// Decodes a clip through the public interface, as an application does, and compares what came with what was expected.
#include "clip_decoder.h"

#include <algorithm>
#include <memory>
#include <sstream>

#include "tvk_source.h"

namespace tvktest {
namespace {

// An end code in the middle of a stream ends one stepping call; at the true end the answer stays the same.
constexpr int32_t kEndsInARow = 4;

struct OpenClip {
    VideoSource *source = nullptr;
    VideoStream *stream = nullptr;
    ~OpenClip() {
        if (stream) tvkDestroyVideoStream(stream);
        if (source) tvkCloseSource(source);
    }
};

std::string failure(const char *what, int32_t code) {
    return code == 0 ? std::string() : std::string(what) + " gives " + std::to_string(code);
}

std::string open(OpenClip &clip, const std::string &path, const DecodeSettings &settings) {
    std::string error = failure("opening", tvkOpenFileSourceEx(&clip.source, path.c_str(), tvkSourceAnyContent));
    if (error.empty()) error = failure("tvkCreateVideoStream", tvkCreateVideoStream(&clip.stream, clip.source));
    if (error.empty()) {
        error = failure("tvkSetVideoSP_Precision", tvkSetVideoSP_Precision(clip.stream, settings.precision));
    }
    if (error.empty()) {
        error =
            failure("tvkSetVideoSP_ReduceCoefficient", tvkSetVideoSP_ReduceCoefficient(clip.stream, settings.reduce));
    }
    if (error.empty()) error = failure("tvkSetVideoSP_Threads", tvkSetVideoSP_Threads(clip.stream, settings.threads));
    return error;
}

std::string numbered(const FrameLine &line) {
    std::ostringstream text;
    text << "frame " << line.number << " (stream " << line.streamNumber << ", " << line.type << ")";
    return text.str();
}

bool samplesDiffer(const FrameLine &a, const FrameLine &b) {
    return a.lumaMd5 != b.lumaMd5 || a.chromaMd5 != b.chromaMd5;
}

}  // namespace

std::string decodeClip(const std::string &path, const DecodeSettings &settings,
                       const std::function<bool(const VideoFrame &)> &frame) {
    OpenClip clip;
    const std::string error = open(clip, path, settings);
    if (!error.empty()) return error;
    for (int32_t ends = 0; ends < kEndsInARow;) {
        VideoFrame *delivered = nullptr;
        const int32_t result = tvkGetNextVideoFrame(clip.stream, &delivered);
        if (result == tvkErrEndOfStream) {
            ++ends;
            continue;
        }
        if (result != 0) return failure("tvkGetNextVideoFrame", result);
        ends = 0;
        if (!frame(*delivered)) break;
    }
    return {};
}

std::string decodeClip(const std::string &path, const DecodeSettings &settings, std::vector<FrameLine> &lines) {
    return decodeClip(path, settings, [&lines](const VideoFrame &frame) {
        lines.push_back(lineOf(frame));
        return true;
    });
}

bool compare(const std::vector<FrameLine> &expected, const std::vector<FrameLine> &actual, Difference &difference) {
    difference = {};
    const size_t common = std::min(expected.size(), actual.size());
    bool coded = false;
    for (size_t i = 0; i < common; ++i) {
        const FrameLine &e = expected[i];
        const FrameLine &a = actual[i];
        if (e == a) continue;
        if (difference.wrongFrames++ == 0) {
            difference.index = i;
            difference.luma = e.lumaMd5 != a.lumaMd5;
            difference.chroma = e.chromaMd5 != a.chromaMd5;
            difference.numbers = e.number != a.number || e.streamNumber != a.streamNumber || e.type != a.type;
            difference.sizes = e.lumaSize != a.lumaSize || e.chromaSize != a.chromaSize;
        }
        if (samplesDiffer(e, a) && (!coded || e.streamNumber < expected[difference.firstCoded].streamNumber)) {
            difference.firstCoded = i;
            coded = true;
        }
    }
    difference.missingFrames = expected.size() - common;
    difference.surplusFrames = actual.size() - common;
    if (difference.wrongFrames == 0) difference.index = common;
    return difference.wrongFrames || difference.missingFrames || difference.surplusFrames;
}

std::string report(const std::vector<FrameLine> &expected, const std::vector<FrameLine> &actual, const Difference &d) {
    std::ostringstream text;
    text << d.wrongFrames << " of " << expected.size() << " frames differ";
    if (d.missingFrames) text << ", " << d.missingFrames << " are missing";
    if (d.surplusFrames) text << ", " << d.surplusFrames << " too many";
    text << '\n';
    if (d.wrongFrames == 0) return text.str();

    const FrameLine &e = expected[d.index];
    text << "  first: " << numbered(e) << " in" << (d.luma ? " luma" : "") << (d.chroma ? " chroma" : "")
         << (d.numbers ? " numbers" : "") << (d.sizes ? " sizes" : "") << '\n';
    text << "    expected " << toText(e) << "\n    got      " << toText(actual[d.index]) << '\n';
    if (!samplesDiffer(expected[d.firstCoded], actual[d.firstCoded])) return text.str();

    // What a decoder author looks at first: the picture that broke, and which types break.
    const FrameLine &c = expected[d.firstCoded];
    text << "  coded first: " << numbered(c) << " in" << (c.lumaMd5 != actual[d.firstCoded].lumaMd5 ? " luma" : "")
         << (c.chromaMd5 != actual[d.firstCoded].chromaMd5 ? " chroma" : "") << '\n';
    for (const char type : {'I', 'P', 'B', 'D'}) {
        size_t all = 0, luma = 0, chroma = 0;
        for (size_t i = 0; i < std::min(expected.size(), actual.size()); ++i) {
            if (expected[i].type != type) continue;
            ++all;
            luma += expected[i].lumaMd5 != actual[i].lumaMd5;
            chroma += expected[i].chromaMd5 != actual[i].chromaMd5;
        }
        if (luma || chroma)
            text << "  " << type << ": luma differs in " << luma << ", chroma in " << chroma << " of " << all << '\n';
    }
    return text.str();
}

}  // namespace tvktest

// SPDX-License-Identifier: BSD-2-Clause
// Pictures one by one, from a video stream or from a Y4M file.
#include "picture_reader.h"

#include <charconv>
#include <fstream>
#include <sstream>

#include "open.h"
#include "settings.h"
#include "tool_error.h"

namespace tvk::tool {

namespace {

constexpr char kMagic[] = "YUV4MPEG2";
constexpr size_t kMagicBytes = sizeof kMagic - 1;
constexpr int32_t kLargestSide = 32768;

class StreamPictures : public PictureReader {
  public:
    StreamPictures(const std::string &path, int32_t threads) : opened(path) {
        DecodingSettings settings;
        settings.threads = threads;
        applySettings(opened.stream, settings);
    }

    bool next(std::vector<uint8_t> &planes) override {
        const VideoFrame *frame = nextFrame(opened);
        if (!frame) return false;
        shape = shapeOf(*frame);
        makeY4mPlanes(*frame, planes);
        return true;
    }

  private:
    OpenedStream opened;
};

class Y4mPictures : public PictureReader {
  public:
    explicit Y4mPictures(const std::string &filePath) : path(filePath), file(filePath, std::ios::binary) {
        std::string header;
        if (!readLine(header)) fail("the header is missing");
        std::istringstream words(header);
        std::string word, colours = "420";
        for (words >> word; words >> word;) {
            const std::string value = word.substr(1);
            if (word[0] == 'W') shape.width = number(value);
            if (word[0] == 'H') shape.height = number(value);
            if (word[0] == 'C') colours = value;
        }
        shape.chromaFormat = chromaFormatOf(colours);
    }

    bool next(std::vector<uint8_t> &planes) override {
        std::string marker;
        if (!readLine(marker)) return false;
        if (marker.substr(0, 5) != "FRAME") fail("a frame marker is missing");
        planes.resize(planeSizes(shape).all());
        if (!file.read(reinterpret_cast<char *>(planes.data()), static_cast<std::streamsize>(planes.size()))) {
            fail("the last picture is cut short");
        }
        return true;
    }

  private:
    [[noreturn]] void fail(const std::string &reason) const { throw ToolError(exitFailed, path + ": " + reason); }

    // Headers are short; what goes on for longer is none.
    bool readLine(std::string &line) {
        constexpr size_t kLongest = 1024;
        char byte = 0;
        for (line.clear(); file.get(byte) && byte != '\n'; line += byte) {
            if (line.size() >= kLongest) fail("a header is too long");
        }
        return !line.empty();
    }

    int32_t number(const std::string &text) const {
        int32_t value = 0;
        const auto [behind, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc() || *behind != 0 || value < 1 || value > kLargestSide) fail("its size is unusable");
        return value;
    }

    int32_t chromaFormatOf(const std::string &colours) const {
        if (shape.width < 1 || shape.height < 1) fail("its header tells no size");
        if (colours == "420" || colours == "420mpeg2" || colours == "420jpeg" || colours == "420paldv") return 1;
        if (colours == "422") return 2;
        if (colours == "444") return 3;
        fail("colour format " + colours + " is not one of 420, 422 and 444 with 8 bits");
    }

    std::string path;
    std::ifstream file;
};

bool isY4m(const std::string &path) {
    char head[kMagicBytes] = {};
    std::ifstream file(path, std::ios::binary);
    return file.read(head, kMagicBytes) && std::string(head, kMagicBytes) == kMagic;
}

}  // namespace

PlaneSizes planeSizes(const Y4mShape &shape) {
    const size_t width = static_cast<size_t>(shape.width), height = static_cast<size_t>(shape.height);
    const size_t chromaWidth = shape.chromaFormat == 3 ? width : (width + 1) / 2;
    const size_t chromaHeight = shape.chromaFormat == 1 ? (height + 1) / 2 : height;
    return {width * height, chromaWidth * chromaHeight};
}

std::unique_ptr<PictureReader> openPictures(const std::string &path, int32_t threads) {
    if (isY4m(path)) return std::make_unique<Y4mPictures>(path);
    return std::make_unique<StreamPictures>(path, threads);
}

}  // namespace tvk::tool

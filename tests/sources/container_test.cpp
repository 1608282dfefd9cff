// SPDX-License-Identifier: BSD-2-Clause
// Containers hold what the elementary stream holds: bytes, frames, numbers, times, and jumps to them.
#include "sources/container_fixture.h"

#include <cmath>
#include <sstream>

namespace {

using namespace tvk::test;
using tvk::elementary::BytePlace;

TEST_F(Containers, streamIsTheElementaryStreamByteForByte) {
    for (const Media &media : everything()) {
        Source source = openStamped(media.file);
        EXPECT_EQ(joined(source.readAll()), bytesOfFile(media.stream)) << media.file;
        Source owner = openStamped(media.file, tvkSourceOwnsBuffer);
        EXPECT_EQ(joined(owner.readAll()), bytesOfFile(media.stream)) << media.file;
    }
}

TEST_F(Containers, framesAndNumbersAreThoseOfTheElementaryStream) {
    for (const Media &media : everything()) {
        const std::vector<DecodedFrame> frames = Decoder(media.file).all(), expected = Decoder(media.stream).all();
        ASSERT_EQ(frames.size(), expected.size()) << media.file;
        for (size_t i = 0; i < frames.size(); ++i) {
            EXPECT_EQ(frames[i].number, expected[i].number) << media.file;
            EXPECT_EQ(frames[i].streamNumber, expected[i].streamNumber) << media.file;
            EXPECT_EQ(frames[i].type, expected[i].type) << media.file << " " << i;
            EXPECT_EQ(frames[i].digest, expected[i].digest) << media.file << " " << i;
        }
    }
}

// Seconds of each frame in display order; NaN where there is none.
std::vector<double> timesByFfprobe(const std::string &file) {
    std::vector<double> times;
    std::istringstream lines(
        outputOf("ffprobe -v quiet -select_streams v:0 -show_entries frame=pts_time -of csv=p=0 " + file));
    for (std::string line; std::getline(lines, line);) {
        if (line.empty()) continue;  // side data of a frame stands on a line of its own
        const bool number = line[0] == '-' || (line[0] >= '0' && line[0] <= '9');
        times.push_back(number ? std::strtod(line.c_str(), nullptr) : NAN);
    }
    return times;
}

TEST_F(Containers, timesAreThoseOfFfprobe) {
    std::vector<Media> all = everything();
    all.push_back({put("pulldown.m2v", "pulldown.ts", ""), ""});
    all.push_back({put("pulldown.m2v", "pulldown.vob", "-f vob"), ""});
    for (const Media &media : all) {
        const std::vector<DecodedFrame> frames = Decoder(media.file).all();
        const std::vector<double> times = timesByFfprobe(media.file);
        ASSERT_EQ(frames.size(), times.size()) << media.file;
        // AVI tells when pictures are decoded. Of MPEG-1, which has no mark for streams without B pictures, ffprobe
        // takes the first picture for one that is shown at once.
        const size_t first = media.file.find("mpeg1.avi") != std::string::npos ? 1 : 0;
        size_t told = 0;
        for (size_t i = first; i < times.size(); ++i) {
            if (std::isnan(times[i])) continue;
            EXPECT_NEAR(frames[i].time, times[i], 0.001) << media.file << " " << i;
            ++told;
        }
        EXPECT_GT(told, 0u) << media.file;
    }
}

TEST_F(Containers, jumpsLandOnTheFramesOfALinearDecodeAlsoWithAReloadedIndex) {
    for (const Media &media : everything()) {
        const std::vector<DecodedFrame> linear = Decoder(media.stream).all();
        const std::string index = folder / "index.vidx";
        const int32_t count = static_cast<int32_t>(linear.size());
        const auto check = [&](Decoder &decoder) {
            for (int32_t i = 0; i < count; ++i) {
                const int32_t number = i * 7 % count + 1;
                const DecodedFrame found = decoder.jump(number);
                EXPECT_EQ(found.number, number) << media.file;
                EXPECT_EQ(found.digest, linear[static_cast<size_t>(number) - 1].digest) << media.file << " " << number;
            }
            for (int32_t number = count; number > 0; --number) {
                EXPECT_EQ(decoder.jump(number).digest, linear[static_cast<size_t>(number) - 1].digest)
                    << media.file << " backwards " << number;
            }
        };
        {
            Decoder decoder(media.file);
            ASSERT_EQ(tvkCreateVideoIndexTable(decoder.stream), 0) << media.file;
            VideoStreamInfo info = {};
            ASSERT_EQ(tvkGetVideoStreamInfo(decoder.stream, &info), 0);
            EXPECT_EQ(info.frameCount, linear.size()) << media.file;
            check(decoder);
            ASSERT_EQ(tvkWriteVideoIndexTable(decoder.stream, index.c_str()), 0);
        }
        Decoder again(media.file);
        ASSERT_EQ(tvkReadVideoIndexTable(again.stream, index.c_str()), 0) << media.file;
        check(again);
    }
}

TEST_F(Containers, indexBelongsToItsFileAlone) {
    const std::string one = put("open_gop.m2v", "one.ts", ""), other = put("open_gop.m2v", "other.mkv", "");
    const std::string index = folder / "index.vidx";
    Decoder first(one), second(other);
    ASSERT_EQ(tvkCreateVideoIndexTable(first.stream), 0);
    ASSERT_EQ(tvkWriteVideoIndexTable(first.stream, index.c_str()), 0);
    EXPECT_EQ(tvkReadVideoIndexTable(second.stream, index.c_str()), tvkErrIndexFile);
}

// Bytes of the elementary stream from `at` on, as many as `unit` has.
bool standsAt(const Bytes &stream, size_t at, const Bytes &unit) {
    return at + unit.size() <= stream.size() &&
           std::equal(unit.begin(), unit.end(), stream.begin() + static_cast<ptrdiff_t>(at));
}

TEST_F(Containers, everyPositionIsReachedExactlyInAnyOrderAndAfterReopening) {
    for (const Media &media : everything()) {
        const Bytes stream = bytesOfFile(media.stream);
        struct Place {
            AbsPosition position;
            size_t at;
        };
        std::vector<Place> places;
        Source reader = openStamped(media.file);
        size_t start = 0, number = 0;
        for (Unit unit = reader.read(); !unit.bytes.empty(); unit = reader.read(), ++number) {
            std::vector<uint32_t> offsets = {
                0, static_cast<uint32_t>(unit.bytes.size() - 1),
                static_cast<uint32_t>(unit.bytes.size() * number % 97 * unit.bytes.size() / 97 % unit.bytes.size())};
            for (size_t i = 0; i < unit.codes.size(); ++i) {
                if (unit.codes[i] < 0x101 || unit.codes[i] > 0x1AF || i % 7 == 0) offsets.push_back(unit.offsets[i]);
            }
            for (const uint32_t offset : offsets) places.push_back({reader.position(offset), start + offset});
            start += unit.bytes.size();
        }
        ASSERT_EQ(start, stream.size()) << media.file;
        Source seeker = openStamped(media.file);
        const size_t step = places.size() > 200 ? places.size() / 200 : 1;
        for (size_t i = 0; i < places.size(); i += step) {
            const Place &place = places[i * 7919 % places.size()];
            ASSERT_EQ(seeker.seekAbs(place.position), 0) << media.file << " " << place.at;
            const AbsPosition now = seeker.position(0);
            EXPECT_EQ(std::memcmp(&now, &place.position, sizeof now), 0) << media.file << " " << place.at;
            const Unit unit = seeker.read(), behind = seeker.read();
            ASSERT_FALSE(unit.bytes.empty()) << media.file << " " << place.at;
            ASSERT_TRUE(standsAt(stream, place.at, unit.bytes)) << media.file << " " << place.at;
            ASSERT_TRUE(standsAt(stream, place.at + unit.bytes.size(), behind.bytes)) << media.file << " " << place.at;
        }
    }
}

TEST_F(Containers, positionsRiseByTheirMeasureAndByRate) {
    for (const Media &media : everyContainer()) {
        Source source = openStamped(media.file);
        uint32_t before = 0;
        double rateBefore = 0.0;
        for (Unit unit = source.read(); !unit.bytes.empty(); unit = source.read()) {
            for (uint32_t offset = 0; offset < unit.bytes.size(); offset += 50) {
                const AbsPosition words = source.position(offset);
                EXPECT_GE(words.words[1] + words.words[2], before) << media.file;
                EXPECT_GE(source.rate(offset), rateBefore) << media.file;
                before = words.words[1] + words.words[2];
                rateBefore = source.rate(offset);
            }
        }
        EXPECT_GT(rateBefore, 0.8) << media.file;
        EXPECT_LE(rateBefore, 1.0) << media.file;
    }
}

TEST_F(Containers, positionsThatAreNoneOfTheFileAreRefusedAndChangeNothing) {
    for (const Media &media : everyContainer()) {
        Source source = openStamped(media.file), other = openStamped(media.file);
        source.read();
        const Unit second = other.read(), expected = other.read();
        for (const BytePlace &place :
             {BytePlace{1, 0}, BytePlace{1000, 3}, BytePlace{40000, 1u << 30}, BytePlace{1u << 30, 0}}) {
            EXPECT_EQ(source.seekAbs(tvk::elementary::toAbsPosition(place)), tvkSourceErrBadPosition)
                << media.file << " " << place.packet;
        }
        EXPECT_EQ(source.seekAbs({{0, 0, 0}}), tvkSourceErrBadPosition);
        EXPECT_EQ(source.read().bytes, expected.bytes) << media.file;
    }
}

TEST_F(Containers, rateSeeksLandOnEntryPointsBehindTheShare) {
    for (const Media &media : everyContainer("demo.m2v")) {
        Source source = openStamped(media.file);
        const Unit first = source.read();
        for (const double rate : {0.2, 0.5, 0.7}) {
            ASSERT_EQ(source.seekRate(rate), 0) << media.file;
            EXPECT_GE(source.rate(0), rate) << media.file;
            const uint32_t code = source.read().codes.front();
            EXPECT_TRUE(code == 0x1B3 || code == 0x1B8) << media.file << " " << code;
        }
        ASSERT_EQ(source.seekRate(1.0), 0) << media.file;
        EXPECT_EQ(source.read().codes, (std::vector<uint32_t>{0x100})) << media.file;
        EXPECT_GT(source.read().sliceCount, 0) << media.file;
        EXPECT_TRUE(source.read().bytes.empty()) << media.file;
        ASSERT_EQ(source.seekRate(0.0), 0) << media.file;
        EXPECT_EQ(source.read().bytes, first.bytes) << media.file;
        EXPECT_EQ(source.seekRate(1.5), tvkErrPositionOutOfRange);
    }
}

// Time of the first unit that tells one.
double nextTime(Source &source) {
    for (Unit unit = source.read(); !unit.bytes.empty(); unit = source.read()) {
        if (unit.time >= 0.0) return unit.time;
    }
    return -1.0;
}

TEST_F(Containers, timeSeeksLandOnTheNextEntryPointByTheStamps) {
    constexpr double kLongestGroup = 15 / 25.0;
    for (const Media &media : everyContainer("demo.m2v")) {
        Source source = openStamped(media.file);
        const double start = nextTime(source);
        for (const double seconds : {0.5, 1.0, 2.0}) {
            ASSERT_EQ(source.seekTime(seconds), 0) << media.file;
            const double time = nextTime(source) - start;
            EXPECT_GT(time, seconds - 0.25) << media.file;
            EXPECT_LT(time, seconds + kLongestGroup + 0.25) << media.file;
        }
        ASSERT_EQ(source.seekTime(0.0), 0);
        EXPECT_EQ(nextTime(source), start) << media.file;
        ASSERT_EQ(source.seekTime(1000.0), 0) << media.file;
        EXPECT_FALSE(source.read().bytes.empty()) << media.file;
    }
}

TEST_F(Containers, timesAreTheSameAfterASeek) {
    for (const Media &media : everyContainer("demo.m2v")) {
        Source reader = openStamped(media.file), seeker = openStamped(media.file);
        std::vector<std::pair<AbsPosition, double>> stamps;  // of a picture's start code, and the time behind it
        AbsPosition position = {};
        for (Unit unit = reader.read(); !unit.bytes.empty(); unit = reader.read()) {
            if (unit.time >= 0.0) stamps.push_back({position, unit.time});
            position = reader.position(unit.offsets.empty() ? 0 : unit.offsets.back());
        }
        ASSERT_GT(stamps.size(), 20u) << media.file;
        seeker.read();
        for (size_t i = stamps.size(); i-- > 0; i -= std::min<size_t>(i, 4)) {
            ASSERT_EQ(seeker.seekAbs(stamps[i].first), 0);
            seeker.read();
            const double time = seeker.read().time;
            // Where the packets tell no time for the picture, it is known only by those before it.
            if (time >= 0.0) {
                EXPECT_NEAR(time, stamps[i].second, 0.0005) << media.file << " " << i;
            }
        }
    }
}

TEST_F(Containers, clockThatStartsAgainGoesOnRising) {
    // 2^33 ticks of 90 kHz are 95443.72 s.
    const std::string file = put("open_gop.m2v", "wrap.ts", "-output_ts_offset 95441.8");
    const std::vector<DecodedFrame> frames = Decoder(file).all();
    ASSERT_EQ(frames.size(), 24u);
    EXPECT_GT(frames.front().time, 95440.0);
    EXPECT_GT(frames.back().time, 8589934592.0 / 90000.0);
    for (size_t i = 1; i < frames.size(); ++i) EXPECT_NEAR(frames[i].time - frames[i - 1].time, 0.04, 0.0005) << i;
}

TEST_F(Containers, jumpOfTheClockIsLeftAsItIs) {
    Bytes both = bytesOfFile(put("open_gop.m2v", "late.ts", "-output_ts_offset 500"));
    const Bytes second = bytesOfFile(put("open_gop.m2v", "early.ts", "-output_ts_offset 480"));
    both.insert(both.end(), second.begin(), second.end());
    writeFile(folder / "both.ts", both);
    const std::vector<DecodedFrame> frames = Decoder(folder / "both.ts").all();
    ASSERT_GE(frames.size(), 47u);
    EXPECT_GT(frames.front().time, 500.0);
    EXPECT_LT(frames.back().time, 490.0);
    EXPECT_GT(frames.back().time, 480.0);
}

TEST_F(Containers, widestOfSeveralStreamsIsTakenAndAnotherCanBeChosen) {
    for (const std::string name : {"two.vob", "two.ts", "two.mkv"}) {
        const std::string file = folder / name;
        ASSERT_EQ(runQuietly("ffmpeg -y -fflags +genpts -i " + clipPath("open_gop.m2v") + " -fflags +genpts -i " +
                             clipPath("interlaced_tff.m2v") + " -map 0 -map 1 -c copy " + file),
                  0);
        Source source = openStamped(file);
        SourceInfo info;
        ASSERT_EQ(tvkGetSourceInfo(source.table, &info), 0);
        EXPECT_EQ(info.videoStreams, 2) << name;
        VideoLayer layers[4] = {};
        StreamDescription description = {};
        description.layers = layers;
        description.layerCapacity = 4;
        ASSERT_EQ(source.table->describe(source.table, &description), 0);
        EXPECT_EQ(description.videoStreamCount, 1u);
        ASSERT_EQ(description.layerCount, 2u);
        EXPECT_EQ(layers[0].layerId, static_cast<uint32_t>(info.layer));
        EXPECT_EQ(joined(source.readAll()), bytesOfFile(clipPath("interlaced_tff.m2v"))) << name;

        uint64_t wide = 0, narrow = 0;
        ASSERT_EQ(source.table->getParameter(source.table, 0, 0, &wide), 0);
        const int32_t other = static_cast<int32_t>(layers[1].layerId), missing = 495;
        EXPECT_EQ(source.table->setParameter(source.table, 0, 9, &missing), tvkErrPositionOutOfRange);
        ASSERT_EQ(source.table->setParameter(source.table, 0, 9, &other), 0) << name;
        EXPECT_EQ(joined(source.readAll()), bytesOfFile(clipPath("open_gop.m2v"))) << name;
        ASSERT_EQ(source.table->getParameter(source.table, 0, 0, &narrow), 0);
        EXPECT_NE(wide, narrow);
    }
}

TEST_F(Containers, sourceTellsItsKindAndLength) {
    const std::map<std::string, std::string> kinds = {{"ts", "transport stream"},
                                                      {"m2ts", "transport stream"},
                                                      {"vob", "program stream"},
                                                      {"mpg", "program stream"},
                                                      {"mxf", "MXF"},
                                                      {"mkv", "Matroska"},
                                                      {"avi", "AVI"},
                                                      {"mov", "QuickTime or MP4"}};
    for (const Media &media : everyContainer("demo.m2v")) {
        Source source = openStamped(media.file);
        SourceInfo info;
        ASSERT_EQ(tvkGetSourceInfo(source.table, &info), 0);
        EXPECT_EQ(info.container, kinds.at(media.file.substr(media.file.rfind('.') + 1)));
        EXPECT_NEAR(info.seconds, 75 / 25.0, 0.1) << media.file;
        EXPECT_EQ(info.size, fs::file_size(media.file));
        EXPECT_EQ(info.seekable, 1);
        uint32_t rate = 0;
        ASSERT_EQ(source.table->getParameter(source.table, 0, 11, &rate), 0);
        EXPECT_NEAR(rate, static_cast<double>(info.size) * 8 / info.seconds, 1.0) << media.file;
    }
}

TEST_F(Containers, kindIsToldByTheBytesAndNotByTheName) {
    const std::string file = put("open_gop.m2v", "a.ts", "");
    fs::rename(file, folder / "a.mov");
    Source source = openStamped(folder / "a.mov");
    EXPECT_EQ(joined(source.readAll()), bytesOfFile(clipPath("open_gop.m2v")));
}

TEST_F(Containers, otherVideoIsRefused) {
    for (const std::string name : {"h.mkv", "h.ts", "h.avi"}) {
        const std::string file = folder / name;
        if (runQuietly("ffmpeg -y -f lavfi -i testsrc=size=64x64:duration=0.5 -c:v mpeg4 " + file) != 0) continue;
        VideoSource *source = nullptr;
        EXPECT_EQ(tvkOpenFileSource(&source, file.c_str()), tvkSourceErrNoVideo) << name;
        EXPECT_EQ(source, nullptr);
    }
}

}  // namespace

// SPDX-License-Identifier: BSD-2-Clause
// Containers that are damaged, cut off, still being written, or come through a pipe.
#include <algorithm>
#include <set>
#include <thread>

#include <unistd.h>

#include "sources/container_fixture.h"

namespace {

using namespace tvk::test;

bool isPrefix(const Bytes &part, const Bytes &whole) {
    return part.size() <= whole.size() && std::equal(part.begin(), part.end(), whole.begin());
}

// Units of the stream that did not come through.
size_t missingUnits(const std::vector<Unit> &units, const std::vector<Unit> &expected) {
    const auto text = [](const Unit &unit) { return std::string(unit.bytes.begin(), unit.bytes.end()); };
    std::multiset<std::string> found;
    for (const Unit &unit : units) found.insert(text(unit));
    return static_cast<size_t>(std::count_if(expected.begin(), expected.end(), [&](const Unit &unit) {
        const auto at = found.find(text(unit));
        if (at == found.end()) return true;
        found.erase(at);
        return false;
    }));
}

std::vector<Unit> unitsOf(const std::string &file) {
    VideoSource *probe = nullptr;
    if (tvkOpenFileSource(&probe, file.c_str()) != 0) return {};
    tvkCloseSource(probe);
    return openStamped(file).readAll();
}

TEST_F(Containers, overwrittenBytesCostThePicturesThatTheyHit) {
    for (const Media &media : everyContainer("demo.m2v")) {
        const Bytes bytes = bytesOfFile(media.file);
        const std::vector<Unit> expected = unitsOf(media.file);
        for (const size_t length : {size_t{1}, size_t{200}, size_t{3000}}) {
            Bytes damaged = bytes;
            const size_t at = bytes.size() / 2;
            for (size_t i = 0; i < length; ++i) damaged[at + i] = static_cast<uint8_t>(i * 37 + 11);
            const std::string file = folder / ("damaged" + media.file.substr(media.file.rfind('.')));
            writeFile(file, damaged);
            EXPECT_LE(missingUnits(unitsOf(file), expected), 4u) << media.file << " " << length;
        }
    }
}

TEST_F(Containers, lostPacketsOfATransportStreamCostTheirPictures) {
    const std::string whole = put("demo.m2v", "whole.ts", "");
    Bytes bytes = bytesOfFile(whole);
    // Whole packets, and then a piece that takes the rhythm of 188 bytes away.
    bytes.erase(bytes.begin() + 188 * 900, bytes.begin() + 188 * 905);
    bytes.erase(bytes.begin() + 188 * 1800, bytes.begin() + 188 * 1800 + 77);
    writeFile(folder / "lossy.ts", bytes);
    const std::vector<Unit> units = unitsOf(folder / "lossy.ts"), expected = unitsOf(whole);
    EXPECT_LE(missingUnits(units, expected), 5u);
    EXPECT_EQ(units.back().bytes, expected.back().bytes);
}

TEST_F(Containers, cutOffFileGivesWhatIsThere) {
    for (const Media &media : everyContainer("demo.m2v")) {
        const Bytes bytes = bytesOfFile(media.file), stream = bytesOfFile(media.stream);
        const bool mov = media.file.ends_with(".mov");  // its table stands at the end
        for (const double share : {0.999, 0.8, 0.5, 0.3}) {
            const size_t size = static_cast<size_t>(static_cast<double>(bytes.size()) * share);
            const std::string file = folder / ("short" + media.file.substr(media.file.rfind('.')));
            writeFile(file, Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(size)));
            const Bytes got = joined(unitsOf(file));
            EXPECT_TRUE(isPrefix(got, stream)) << media.file << " " << share;
            if (mov) continue;
            EXPECT_GT(static_cast<double>(got.size()), static_cast<double>(stream.size()) * share * 0.9 - 20000)
                << media.file << " " << share;
        }
    }
}

TEST_F(Containers, recordingCutOutOfTheMiddleIsRecognised) {
    const std::pair<const char *, size_t> cuts[] = {
        {"a.ts", 188 * 200 + 100}, {"a.m2ts", 192 * 200 + 31}, {"a.vob", 150000}};
    for (const auto &[name, from] : cuts) {
        const std::string options = std::string(name).ends_with("m2ts") ? "-f mpegts -mpegts_m2ts_mode 1" : "";
        const std::string whole = put("demo.m2v", name, options);
        const Bytes bytes = bytesOfFile(whole);
        const std::string file = folder / ("cut_" + std::string(name));
        writeFile(file, Bytes(bytes.begin() + static_cast<ptrdiff_t>(from), bytes.end()));
        const std::vector<Unit> units = unitsOf(file), expected = unitsOf(whole);
        ASSERT_GT(units.size(), 30u) << name;
        EXPECT_EQ(units.back().bytes, expected.back().bytes) << name;
    }
}

// Damage of all kinds: nothing is asked but that reading and seeking come to an end and hold their bounds.
TEST_F(Containers, anyDamageIsSurvived) {
    uint32_t state = 12345;
    const auto random = [&state] { return state = state * 1664525 + 1013904223, state >> 8; };
    for (const Media &media : everyContainer()) {
        const Bytes bytes = bytesOfFile(media.file);
        for (int round = 0; round < 12; ++round) {
            Bytes damaged = bytes;
            for (int i = 0; i < 40; ++i) damaged[random() % damaged.size()] = static_cast<uint8_t>(random());
            if (round % 3 == 0) damaged.resize(damaged.size() / 2 + random() % (damaged.size() / 2));
            VideoSource *table = nullptr;
            if (tvkOpenMemorySource(&table, damaged.data(), damaged.size()) != 0) continue;
            Source source;
            source.table = table;
            source.owns = source.stamped = true;
            const std::vector<Unit> units = source.readAll();
            for (const double rate : {0.5, 1.0, 0.1}) {
                if (source.seekRate(rate) == 0) source.read();
            }
            const AbsPosition here = source.position(0);
            source.seekTime(0.3);
            source.read();
            source.seekAbs(here);
            source.read();
        }
    }
}

TEST_F(Containers, memoryIsReadLikeAFile) {
    for (const Media &media : everyContainer()) {
        const Bytes bytes = bytesOfFile(media.file);
        Source source = Source::ofMemory(bytes);
        source.stamped = true;
        EXPECT_EQ(joined(source.readAll()), bytesOfFile(media.stream)) << media.file;
    }
}

// Reads what there is; counts the answers that there is nothing yet.
void readOn(Source &source, Bytes &bytes, int &noData) {
    for (;;) {
        const Unit unit = source.read();
        if (unit.noData) {
            ++noData;
            EXPECT_EQ(source.unit->entryCount, 0);
            return;
        }
        if (unit.bytes.empty()) return;
        bytes.insert(bytes.end(), unit.bytes.begin(), unit.bytes.end());
    }
}

TEST_F(Containers, growingFileWaitsForDataAndLosesNothing) {
    std::vector<Media> all = everyContainer("demo.m2v");
    all.push_back({clipPath("demo.m2v"), clipPath("demo.m2v")});
    for (const Media &media : all) {
        if (media.file.ends_with(".mov")) continue;  // cannot be read before it is complete
        const Bytes bytes = bytesOfFile(media.file), stream = bytesOfFile(media.stream);
        TempFile file(Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(bytes.size() / 5)));
        Source source = Source::ofFile(file.path, tvkSourceFillsBuffer | tvkSourceGrowing);
        source.stamped = true;
        Bytes got;
        int noData = 0;
        readOn(source, got, noData);
        for (const size_t tenths : {3u, 6u, 9u, 10u}) {
            file.write(0, Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(bytes.size() * tenths / 10)));
            readOn(source, got, noData);
            EXPECT_TRUE(isPrefix(got, stream)) << media.file << " " << tenths;
            readOn(source, got, noData);
        }
        EXPECT_EQ(noData, 9) << media.file;
        EXPECT_GT(got.size(), stream.size() * 8 / 10) << media.file;
        ASSERT_EQ(tvkEndSourceGrowth(source.table), 0);
        readOn(source, got, noData);
        EXPECT_EQ(noData, 9) << media.file;
        EXPECT_EQ(got, stream) << media.file;
    }
}

TEST_F(Containers, growingFileIsDecodedAsFarAsItGoesAndThenOn) {
    const std::string whole = put("open_gop.m2v", "whole.ts", "");
    const Bytes bytes = bytesOfFile(whole);
    const std::vector<DecodedFrame> expected = Decoder(whole).all();
    TempFile file(Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(bytes.size() / 4)));
    Decoder decoder(file.path, tvkSourceGrowing);
    std::vector<DecodedFrame> frames;
    DecodedFrame frame;
    for (const size_t quarters : {2u, 3u, 4u}) {
        int32_t code;
        while ((code = decoder.next(frame)) == 0) frames.push_back(frame);
        EXPECT_EQ(code, tvkErrNeedData);
        file.write(0, Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(bytes.size() * quarters / 4)));
    }
    while (decoder.next(frame) == 0) frames.push_back(frame);
    EXPECT_LT(frames.size(), expected.size());
    ASSERT_EQ(tvkEndSourceGrowth(decoder.source), 0);
    while (decoder.next(frame) == 0) frames.push_back(frame);
    ASSERT_EQ(frames.size(), expected.size());
    for (size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(frames[i].digest, expected[i].digest) << i;
        EXPECT_EQ(frames[i].number, expected[i].number) << i;
        EXPECT_NEAR(frames[i].time, expected[i].time, 1e-9) << i;
    }
}

// Feeds a pipe for as long as it lives.
struct Feeder {
    int ends[2] = {-1, -1};
    std::thread thread;

    explicit Feeder(Bytes bytes) {
        EXPECT_EQ(pipe(ends), 0);
        thread = std::thread([this, bytes = std::move(bytes)] {
            for (size_t at = 0; at < bytes.size();) {
                const ssize_t count = write(ends[1], bytes.data() + at, std::min<size_t>(bytes.size() - at, 5000));
                if (count <= 0) break;
                at += static_cast<size_t>(count);
            }
            close(ends[1]);
        });
    }
    ~Feeder() {
        thread.join();
        close(ends[0]);
    }
};

TEST_F(Containers, pipeIsReadOnceFromItsStart) {
    std::vector<Media> all = everyContainer("demo.m2v");
    all.push_back({clipPath("demo.m2v"), clipPath("demo.m2v")});
    for (const Media &media : all) {
        if (media.file.ends_with(".mov")) continue;  // its table stands at the end
        Feeder feeder(bytesOfFile(media.file));
        Source source;
        ASSERT_EQ(tvkOpenDescriptorSource(&source.table, feeder.ends[0], tvkSourceFillsBuffer), 0) << media.file;
        source.stamped = true;
        SourceInfo info;
        ASSERT_EQ(tvkGetSourceInfo(source.table, &info), 0);
        EXPECT_EQ(info.seekable, 0);
        uint32_t id = 0;
        EXPECT_EQ(source.table->openClose(source.table, &id, 1), 0);
        EXPECT_EQ(source.seekRate(0.0), 0) << media.file;
        EXPECT_EQ(joined(source.readAll()), bytesOfFile(media.stream)) << media.file;
        EXPECT_EQ(source.seekRate(0.5), tvkSourceErrNoSeek) << media.file;
        EXPECT_EQ(source.seekTime(1.0), tvkSourceErrNoSeek) << media.file;
        EXPECT_EQ(source.rate(0), source.rate(0)) << media.file;
    }
}

TEST_F(Containers, descriptorOfAFileCanBeSoughtIn) {
    const std::string file = put("open_gop.m2v", "a.ts", "");
    const int descriptor = open(file.c_str(), O_RDONLY);
    Source source;
    ASSERT_EQ(tvkOpenDescriptorSource(&source.table, descriptor, tvkSourceFillsBuffer), 0);
    close(descriptor);
    source.stamped = true;
    const Bytes stream = bytesOfFile(clipPath("open_gop.m2v"));
    EXPECT_EQ(joined(source.readAll()), stream);
    ASSERT_EQ(source.seekRate(0.0), 0);
    EXPECT_EQ(joined(source.readAll()), stream);
    VideoSource *table = nullptr;
    EXPECT_EQ(tvkOpenDescriptorSource(&table, -1, 0), tvkErrInvalidArgument);
    EXPECT_EQ(tvkOpenDescriptorSource(nullptr, 0, 0), tvkErrInvalidArgument);
    EXPECT_EQ(tvkOpenDescriptorSource(&table, 9999, 0), tvkSourceErrOpen);
}

}  // namespace

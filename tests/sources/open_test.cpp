// SPDX-License-Identifier: BSD-2-Clause
// Opening, refusing, describing, parameters, and files that change.
#include <algorithm>
#include <set>

#include <sys/stat.h>

#include "sources/source_fixture.h"

namespace {

using namespace tvk::test;

int32_t openFile(const std::string &path) {
    VideoSource *source = reinterpret_cast<VideoSource *>(&source);
    const int32_t code = tvkOpenFileSource(&source, path.c_str());
    if (code != 0) {
        EXPECT_EQ(source, nullptr);
    } else {
        EXPECT_EQ(tvkCloseSource(source), 0);
    }
    return code;
}

int32_t openMemory(const Bytes &bytes) {
    return openFile(TempFile(bytes).path);
}

TEST(Open, namesWhatIsWrongWithThePath) {
    EXPECT_EQ(openFile("/nowhere/at/all.m2v"), tvkSourceErrNotFound);
    EXPECT_EQ(openFile(""), tvkSourceErrNotFound);
    EXPECT_EQ(openFile("/tmp"), tvkSourceErrNotAFile);
    EXPECT_EQ(openFile("/dev/null"), tvkSourceErrNotAFile);
}

TEST(Open, pipeWithoutWriterIsRefusedAtOnce) {
    std::string path;
    {
        TempFile file;
        path = file.path + ".pipe";
    }
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(openFile(path), tvkSourceErrNotAFile);
    unlink(path.c_str());
}

TEST(Open, refusesNullAndUnknownFlags) {
    VideoSource *source;
    const uint8_t byte = 0;
    EXPECT_EQ(tvkOpenFileSource(nullptr, "x"), tvkErrInvalidArgument);
    EXPECT_EQ(tvkOpenFileSource(&source, nullptr), tvkErrInvalidArgument);
    EXPECT_EQ(tvkOpenFileSourceEx(&source, "x", 16), tvkErrInvalidArgument);
    EXPECT_EQ(tvkOpenMemorySource(nullptr, &byte, 1), tvkErrInvalidArgument);
    EXPECT_EQ(tvkOpenMemorySource(&source, nullptr, 1), tvkErrInvalidArgument);
    EXPECT_EQ(tvkOpenMemorySourceEx(&source, &byte, 1, 16), tvkErrInvalidArgument);
    EXPECT_EQ(source, nullptr);
    EXPECT_EQ(tvkCloseSource(nullptr), tvkErrInvalidArgument);
}

TEST(Open, emptyFileIsRefused) {
    EXPECT_EQ(openMemory({}), tvkSourceErrEmpty);
}

TEST(Open, fileWithoutSequenceHeaderIsRefused) {
    EXPECT_EQ(openMemory(Bytes(100000, 0)), tvkSourceErrNoVideo);
    Bytes pictures;
    appendCode(pictures, 0x100, 100);
    EXPECT_EQ(openMemory(pictures), tvkSourceErrNoVideo);
    EXPECT_EQ(openMemory({0, 0, 1}), tvkSourceErrNoVideo);
    EXPECT_EQ(openMemory({0, 0, 1, 0xB3}), 0);
}

TEST(Open, sequenceHeaderIsSearchedForSixteenMiB) {
    constexpr uint64_t kLimit = 0x1000000;
    Bytes header;
    appendCode(header, 0x1B3);
    TempFile file;
    file.resize(kLimit + 100);
    file.write(kLimit - 3, header);
    EXPECT_EQ(openFile(file.path), tvkSourceErrNoVideo);
    file.write(kLimit - 4, header);
    EXPECT_EQ(openFile(file.path), 0);
}

// Containers are told by their bytes. These hold nothing that could be read from them.
TEST(Open, containersAreRecognised) {
    const Bytes video = makeStream(1, 1, 10);
    Bytes program = {0, 0, 1, 0xBA, 0x44, 0, 4, 0, 4, 1};
    Bytes system = {0, 0, 1, 0xBA, 0x21, 0, 1, 0, 1, 0x80};
    Bytes matroska = {0x1A, 0x45, 0xDF, 0xA3};
    Bytes avi = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'A', 'V', 'I', ' '};
    Bytes mov = {0, 0, 0, 8, 'm', 'd', 'a', 't'};
    Bytes mxf = {6, 0x0E, 0x2B, 0x34, 2, 5, 1, 1, 0x0D, 1, 2};
    std::vector<Bytes> containers = {program, system, matroska, avi, mov, mxf};
    for (size_t distance : {188u, 192u, 204u}) {
        Bytes transport(distance * 10, 0);
        for (size_t i = distance - 188; i < transport.size(); i += distance) transport[i] = 0x47;
        containers.push_back(transport);
    }
    for (Bytes &bytes : containers) {
        bytes.insert(bytes.end(), video.begin(), video.end());
        const int32_t code = openMemory(bytes);
        EXPECT_TRUE(code == tvkSourceErrMultiplexed || code == tvkSourceErrNoVideo || code == tvkSourceErrContainer)
            << code;
    }
}

TEST(Open, anyContentTakesEverything) {
    const Bytes empty, garbage(50, 0x47);
    Source nothing = Source::ofMemory(empty, tvkSourceAnyContent);
    EXPECT_TRUE(nothing.readAll().empty());
    EXPECT_EQ(nothing.rate(0), 0.0);
    EXPECT_EQ(nothing.seekRate(0.5), 0);
    EXPECT_EQ(nothing.seekRate(1.0), 0);
    Source some = Source::ofMemory(garbage, tvkSourceAnyContent);
    EXPECT_EQ(joined(some.readAll()), garbage);
    const TempFile file;
    Source emptyFile = Source::ofFile(file.path, tvkSourceAnyContent);
    EXPECT_TRUE(emptyFile.readAll().empty());
}

TEST(Open, positionsEndAt64TiB) {
    const Bytes byte = {0};
    VideoSource *source;
    EXPECT_EQ(tvkOpenMemorySource(&source, byte.data(), uint64_t{1} << 46), tvkSourceErrTooLarge);
}

TEST(Describe, tellsOneElementaryStreamWithOneUsableLayer) {
    const Bytes bytes = makeStream(1, 1, 1);
    Source source = Source::ofMemory(bytes);
    VideoLayer layers[2] = {};
    StreamDescription description = {};
    description.layers = layers;
    description.layerCapacity = 2;
    ASSERT_EQ(source.table->describe(source.table, &description), 0);
    EXPECT_EQ(description.containerKind, 1u);
    EXPECT_LE(description.layerKind, 1u);
    EXPECT_EQ(description.videoStreamCount, 1u);
    EXPECT_EQ(description.layerCount, 1u);
    EXPECT_EQ(layers[0].layerId, 480u);
    EXPECT_EQ(layers[0].layerUsable, 1u);
    EXPECT_EQ(layers[1].layerUsable, 0u);
}

TEST(Describe, writesNoLayerWithoutRoom) {
    const Bytes bytes = makeStream(1, 1, 1);
    Source source = Source::ofMemory(bytes);
    VideoLayer layer = {1, 2, 3};
    StreamDescription description = {};
    ASSERT_EQ(source.table->describe(source.table, &description), 0);
    description.layers = &layer;
    ASSERT_EQ(source.table->describe(source.table, &description), 0);
    EXPECT_EQ(description.layerCount, 0u);
    EXPECT_EQ(layer.layerId, 1u);
}

TEST(Parameter, layerIsKeptWithinItsRange) {
    const Bytes bytes = makeStream(1, 1, 1);
    Source source = Source::ofMemory(bytes);
    VideoSource *table = source.table;
    int32_t layer = 0;
    ASSERT_EQ(table->getParameter(table, 0, 9, &layer), 0);
    EXPECT_EQ(layer, 480);
    for (int32_t value : {480, 495}) {
        ASSERT_EQ(table->setParameter(table, 0, 9, &value), 0);
        ASSERT_EQ(table->getParameter(table, 0, 9, &layer), 0);
        EXPECT_EQ(layer, value);
    }
    for (int32_t value : {479, 496, -1}) EXPECT_EQ(table->setParameter(table, 0, 9, &value), tvkErrPositionOutOfRange);
}

TEST(Parameter, ownBufferFollowsTheFlag) {
    const Bytes bytes = makeStream(1, 1, 1);
    for (uint32_t flag :
         {0u, static_cast<uint32_t>(tvkSourceOwnsBuffer), static_cast<uint32_t>(tvkSourceFillsBuffer)}) {
        Source source = Source::ofMemory(bytes, flag);
        uint32_t value = 9;
        ASSERT_EQ(source.table->getParameter(source.table, 0, 8, &value), 0);
        EXPECT_EQ(value != 0, flag != tvkSourceFillsBuffer);
    }
}

TEST(Parameter, multiplexRateIsTheVideoRate) {
    const Bytes bytes = makeStream(1, 1, 1);
    Source source = Source::ofMemory(bytes);
    const uint32_t rate = 5000000;
    uint32_t value = 9;
    ASSERT_EQ(source.table->getParameter(source.table, 0, 11, &value), 0);
    EXPECT_EQ(value, 0u);
    ASSERT_EQ(source.table->setParameter(source.table, 0, 12, &rate), 0);
    ASSERT_EQ(source.table->getParameter(source.table, 0, 11, &value), 0);
    EXPECT_EQ(value, rate);
}

TEST(Parameter, unknownNumbersAreRefused) {
    const Bytes bytes = makeStream(1, 1, 1);
    Source source = Source::ofMemory(bytes);
    uint64_t value = 0;
    EXPECT_EQ(source.table->getParameter(source.table, 0, 12, &value), tvkSourceErrNoParameter);
    EXPECT_EQ(source.table->getParameter(source.table, 0, 99, &value), tvkSourceErrNoParameter);
    EXPECT_EQ(source.table->setParameter(source.table, 0, 14, &value), tvkSourceErrNoParameter);
    EXPECT_EQ(source.table->getParameter(source.table, 0, 14, nullptr), tvkErrInvalidArgument);
    EXPECT_EQ(source.table->setParameter(source.table, 0, 9, nullptr), tvkErrInvalidArgument);
}

uint64_t fingerprintOf(const Bytes &bytes) {
    Source source = Source::ofMemory(bytes);
    uint64_t value = 0;
    EXPECT_EQ(source.table->getParameter(source.table, 0, 0, &value), 0);
    return value;
}

TEST(Parameter, fingerprintTellsHeadMiddleTailAndSizeApart) {
    const Bytes bytes = makeStream(40, 10, 1000);
    const TempFile file(bytes);
    Source source = Source::ofFile(file.path);
    uint64_t value = 0;
    source.read();
    ASSERT_EQ(source.table->getParameter(source.table, 0, 0, &value), 0);
    EXPECT_EQ(value, fingerprintOf(bytes));
    Bytes longer = bytes;
    longer.push_back(0);
    EXPECT_NE(fingerprintOf(longer), value);
    for (size_t at : {size_t{50}, bytes.size() / 2, bytes.size() - 1}) {
        Bytes other = bytes;
        other[at] ^= 1;
        EXPECT_NE(fingerprintOf(other), value);
    }
    // The reading position is untouched.
    EXPECT_EQ(source.read().start, kHeadBytes);
}

TEST(OpenClose, closedSourceReadsNothingAndReopensAtTheStart) {
    const Bytes bytes = makeStream(2, 1, 10);
    Source source = Source::ofMemory(bytes);
    source.read();
    uint32_t id = 77;
    ASSERT_EQ(source.table->openClose(source.table, &id, 2), 0);
    const Unit unit = source.read();
    EXPECT_EQ(unit.status, tvkSourceErrClosed);
    EXPECT_TRUE(unit.bytes.empty());
    ASSERT_EQ(source.table->openClose(source.table, &id, 1), 0);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(joined(source.readAll()), bytes);
    EXPECT_EQ(source.table->openClose(source.table, &id, 3), tvkErrInvalidArgument);
    EXPECT_EQ(source.table->openClose(source.table, nullptr, 1), tvkErrInvalidArgument);
}

TEST(ChangingFile, shorterOneEndsWithAnErrorAndNoSignal) {
    const Bytes bytes = makeStream(3000, 2, 500);
    TempFile file(bytes);
    Source source = Source::ofFile(file.path);
    source.read();
    const uint64_t left = 1000000;
    file.resize(left);
    uint64_t total = kHeadBytes;
    Unit unit = source.read();
    for (; !unit.bytes.empty(); unit = source.read()) total += unit.bytes.size();
    EXPECT_EQ(total, left);
    EXPECT_EQ(unit.status, tvkSourceErrFileChanged);
    ASSERT_EQ(source.seekAbs(source.position(0)), 0);
    uint64_t fingerprint;
    EXPECT_EQ(source.table->getParameter(source.table, 0, 0, &fingerprint), tvkSourceErrFileChanged);
    EXPECT_EQ(source.seekRate(0.9), tvkSourceErrFileChanged);
    EXPECT_EQ(source.seekRate(0.0), 0);
    EXPECT_EQ(source.read().bytes.size(), kHeadBytes);
}

TEST(ChangingFile, appendedBytesAreNotSeen) {
    const Bytes bytes = makeStream(3, 2, 500);
    TempFile file(bytes);
    Source source = Source::ofFile(file.path);
    source.read();
    file.write(bytes.size(), bytes);
    source.seekRate(0.0);
    EXPECT_EQ(joined(source.readAll()), bytes);
}

TEST(ErrorText, everyCodeHasASentenceOfItsOwn) {
    std::set<std::string> texts;
    for (int32_t code = tvkSourceErrContainer; code <= tvkSourceErrNotFound; ++code) {
        const std::string text = tvkSourceErrorText(code);
        EXPECT_NE(text, tvkSourceErrorText(-9999)) << code;
        EXPECT_NE(text.back(), '.') << code;
        texts.insert(text);
    }
    EXPECT_EQ(texts.size(), 16u);
    EXPECT_STREQ(tvkSourceErrorText(0), "no error");
}

}  // namespace

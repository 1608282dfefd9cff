// SPDX-License-Identifier: BSD-2-Clause
// Every service that the libraries use fails once at every place where a session calls it: the first call to say
// anything new says what failed, nothing is lost, and the stream goes on.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "faults.h"
#include "scenario.h"
#include "support/fake_source.h"
#include "tvk_source.h"

namespace tvktest {
namespace {

struct Folder {
    std::string path;

    Folder() {
        std::string name = (std::filesystem::temp_directory_path() / "tvk-failures-XXXXXX").string();
        EXPECT_NE(mkdtemp(name.data()), nullptr);
        path = name;
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    ~Folder() { std::filesystem::remove_all(path); }
};

using Codes = std::vector<int32_t>;

bool has(const Codes &codes, int32_t code) {
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

// What a failure may make calls say: the first one that says something new, and those behind it.
struct Case {
    const char *name;
    Service service;
    int32_t threads;
    Codes first, later;
    // Whether some failures go unnoticed: what is lost of a .jpg, a ring of decoded frames that cannot be built.
    bool mayPass;

    friend std::ostream &operator<<(std::ostream &out, const Case &c) { return out << c.name; }
};

void expectAnswers(const std::vector<Answer> &usual, const std::vector<Answer> &answers, const Case &c) {
    size_t news = 0;
    for (size_t i = 0; i < answers.size(); ++i) {
        const Answer &a = answers[i];
        if (i < usual.size() && a.code == usual[i].code) continue;
        EXPECT_TRUE(has(news++ == 0 ? c.first : c.later, a.code)) << a.call << " says " << a.code;
    }
    EXPECT_TRUE(news != 0 || c.mayPass) << "nobody noticed";
}

struct EveryFailure : testing::TestWithParam<Case> {
    Folder folder;
    const std::vector<uint8_t> bytes = sessionBytes();
    std::vector<Answer> usual;
    std::vector<uint32_t> pictures;

    // True when there was a call to fail.
    bool play(int64_t n) {
        const Case &c = GetParam();
        FakeSource source(bytes);
        source.bitRate = 400;
        const int64_t blocks = blocksHeld(), files = filesHeld();
        bool happened = false;
        {
            Session session;
            {
                const Fault fault(c.service, n);
                session.run(source.source(), folder.path, c.threads);
                happened = fault.happened();
            }
            const std::vector<uint32_t> after = session.stream ? session.recover() : pictures;
            if (n < 0) {
                usual = session.answers;
                pictures = after;
                EXPECT_GE(pictures.size(), 10u);
            }
            if (happened) expectAnswers(usual, session.answers, c);
            EXPECT_EQ(after, pictures);
        }
        EXPECT_EQ(blocksHeld(), blocks);
        EXPECT_EQ(filesHeld(), files);
        return happened;
    }
};

TEST_P(EveryFailure, isToldAndPassesOver) {
    play(-1);
    int64_t n = 0;
    for (bool happened = true; happened && !HasFailure(); ++n) {
        SCOPED_TRACE(testing::Message() << "call " << n);
        happened = play(n);
    }
    EXPECT_GT(n, 1) << "nothing to fail";
}

const Case kCases[] = {
    {"allocation",
     Service::allocation,
     3,
     // The end: a ring of decoded frames has nothing in a place that could not be made.
     {tvkErrOutOfMemory, tvkErrEndOfStream},
     {0, tvkErrOutOfMemory, tvkErrEndOfStream, tvkErrNotIndexed, tvkErrNoPreviousFrame, tvkErrFrameOutOfRange},
     true},
    {"threadStart",
     Service::threadStart,
     3,
     {tvkErrWorkerFailed},
     {tvkErrWorkerFailed, tvkErrEndOfStream, tvkErrNoPreviousFrame, tvkErrFrameOutOfRange},
     false},
    {"fileOpen", Service::fileOpen, 1, {tvkErrFileCreate, tvkErrFileOpen, tvkErrSaveCreate}, {}, false},
    {"fileWrite",
     Service::fileWrite,
     1,
     {tvkErrFileCreate, tvkErrSaveWrite},
     {tvkErrIndexFile, tvkErrNotIndexed},
     true},
    {"fileClose", Service::fileClose, 1, {tvkErrFileCreate, tvkErrSaveWrite}, {}, true},
    {"fileRead", Service::fileRead, 1, {tvkErrIndexFile}, {tvkErrNotIndexed}, false},
};

// A source that fails at its n-th call: its code comes through, and later calls go on.
TEST(SourceCalls, failuresComeThroughAndPassOver) {
    constexpr int32_t kCode = -3997;
    const Folder folder;
    const std::vector<uint8_t> bytes = sessionBytes();
    size_t told = 0;
    int64_t n = 0;
    for (bool happened = true; happened && !testing::Test::HasFailure(); ++n) {
        SCOPED_TRACE(testing::Message() << "call " << n);
        FakeSource source(bytes);
        source.bitRate = 400;
        source.callsToFailure = n;
        source.callError = kCode;
        const int64_t blocks = blocksHeld(), files = filesHeld();
        {
            Session session;
            session.run(source.source(), folder.path, 1);
            happened = source.callsToFailure < 0;
            told += std::any_of(session.answers.begin(), session.answers.end(),
                                [](const Answer &a) { return a.code == kCode; });
            source.callsToFailure = -1;
            if (session.stream) {
                EXPECT_FALSE(session.recover().empty());
            }
        }
        EXPECT_EQ(blocksHeld(), blocks);
        EXPECT_EQ(filesHeld(), files);
    }
    EXPECT_GT(n, 100);
    EXPECT_GT(told, 10u);
}

INSTANTIATE_TEST_SUITE_P(Of, EveryFailure, testing::ValuesIn(kCases),
                         [](const auto &info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tvktest

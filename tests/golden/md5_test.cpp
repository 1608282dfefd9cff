// SPDX-License-Identifier: BSD-2-Clause
// The checksum against the examples of RFC 1321, and in pieces.
#include "md5.h"

#include <gtest/gtest.h>

namespace tvktest {
namespace {

std::string md5Of(const std::string &text, size_t piece = 1000) {
    Md5 md5;
    for (size_t at = 0; at < text.size(); at += piece) {
        const std::string part = text.substr(at, piece);
        addBytes(md5, reinterpret_cast<const uint8_t *>(part.data()), part.size());
    }
    return finish(md5);
}

TEST(Md5, agreesWithItsDefinitionsExamples) {
    EXPECT_EQ("d41d8cd98f00b204e9800998ecf8427e", md5Of(""));
    EXPECT_EQ("0cc175b9c0f1b6a831c399e269772661", md5Of("a"));
    EXPECT_EQ("f96b697d7cb7938d525a2f31aaf161d0", md5Of("message digest"));
    EXPECT_EQ("d174ab98d277d9f5a5611c2c9f419d9f",
              md5Of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"));
    EXPECT_EQ("57edf4a22be3c955ac49da2e2107b67a",
              md5Of("12345678901234567890123456789012345678901234567890123456789012345678901234567890"));
}

TEST(Md5, doesNotDependOnThePieces) {
    const std::string text(300, 'x');
    for (size_t piece = 1; piece < 150; ++piece) ASSERT_EQ(md5Of(text), md5Of(text, piece)) << piece;
}

}  // namespace
}  // namespace tvktest

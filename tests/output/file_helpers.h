// SPDX-License-Identifier: BSD-2-Clause
// A folder of its own for each test, and whole files as bytes.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace tvk::test {

class PictureFiles : public ::testing::Test {
  protected:
    void SetUp() override {
        const auto *info = ::testing::UnitTest::GetInstance()->current_test_info();
        folder = std::filesystem::path(::testing::TempDir()) /
                 (std::string("tvk_") + info->test_suite_name() + "_" + info->name());
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::string path(const std::string &name) const { return (folder / name).string(); }
    bool exists(const std::string &name) const { return std::filesystem::exists(folder / name); }
    std::vector<uint8_t> bytesOf(const std::string &name) const {
        std::ifstream file(folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    size_t fileCount() const {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
    }

    std::filesystem::path folder;
};

}  // namespace tvk::test

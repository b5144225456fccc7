// A scratch directory per test, removed afterwards, with helpers to put and read files.
#pragma once
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "base/qorstring.h"

class ScratchDir : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = std::filesystem::temp_directory_path() /
            ("brindle-fs-" + std::to_string(::getpid()) + "-" +
             ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(root_);
    std::filesystem::create_directories(root_);
  }
  void TearDown() override { std::filesystem::remove_all(root_); }
  QorString at(const std::string& rel) const { return QorString::fromUtf8((root_ / rel).c_str()); }
  void put(const std::string& rel, const std::string& data) const {
    std::ofstream(root_ / rel, std::ios::binary) << data;
  }
  std::string read(const std::string& rel) const {
    std::ifstream in(root_ / rel, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  std::filesystem::path root_;
};

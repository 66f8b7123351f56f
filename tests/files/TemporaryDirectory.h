// A directory that exists for one test, and functions to write and read files in it as bytes.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class TemporaryDirectory {
public:
    TemporaryDirectory() {
        static std::atomic<int> count{0};
        auto const now = std::chrono::steady_clock::now().time_since_epoch().count();
        path_ = std::filesystem::temp_directory_path() /
                ("kz-" + std::to_string(now) + "-" + std::to_string(count.fetch_add(1)));
        std::filesystem::create_directory(path_);
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(TemporaryDirectory const &) = delete;
    TemporaryDirectory & operator=(TemporaryDirectory const &) = delete;

    [[nodiscard]] std::u16string Path(char16_t const * name) const { return (path_ / name).u16string(); }
    [[nodiscard]] std::filesystem::path const & Root() const { return path_; }
    void Write(char16_t const * name, std::string const & bytes) const {
        std::ofstream(path_ / name, std::ios::binary) << bytes;
    }
    [[nodiscard]] std::string Read(char16_t const * name) const {
        std::ifstream stream(path_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    [[nodiscard]] bool Exists(char16_t const * name) const { return std::filesystem::exists(path_ / name); }
    void Remove(char16_t const * name) const { std::filesystem::remove(path_ / name); }

private:
    std::filesystem::path path_;
};

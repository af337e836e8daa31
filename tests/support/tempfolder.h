#pragma once

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <string_view>

/// A folder of its own for each test, gone with it.
class TempFolder : public testing::Test
{
protected:
    TempFolder()
    {
        const auto* const info = testing::UnitTest::GetInstance()->current_test_info();
        folder_ = std::filesystem::temp_directory_path() /
                  (std::string("scansession.") + info->test_suite_name() + "." + info->name() +
                   "." + std::to_string(testing::UnitTest::GetInstance()->start_timestamp()));
        std::filesystem::create_directories(folder_);
    }
    ~TempFolder() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    std::filesystem::path Write(const std::filesystem::path& name, std::string_view content) const
    {
        const auto path = folder_ / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream file(path, std::ios::binary);
        file.write(content.data(), static_cast<std::streamsize>(content.size()));
        return path;
    }

    static std::string Read(const std::filesystem::path& path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    [[nodiscard]] const std::filesystem::path& Folder() const { return folder_; }

private:
    std::filesystem::path folder_;
};

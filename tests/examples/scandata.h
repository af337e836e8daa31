#pragma once

#include <cstdlib>
#include <filesystem>

/// The folder with real range scans: SCAN_DATA from the environment, or a place beside the project.
/// It may not exist; tests skip then.
inline std::filesystem::path ScanDataFolder()
{
    const char* const set = std::getenv("SCAN_DATA");
    return set != nullptr ? set : SCANSESSION_DEFAULT_DATA;
}

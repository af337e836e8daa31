#pragma once

#include "examples/scansession/scans/poses.h"
#include "examples/scansession/scans/scansource.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace scansession
{

/// Range scans in a folder.
///
/// With a pose file (see ReadPoseFile) the scans are those it names, in its order, without those
/// that may be missing and are. Without one they
/// are all PLY files of the folder, sorted by name, each with its own matrix in NAME.xf or NAME.txt
/// (see ReadMatrixFile; .xf goes first).
class ScanFolder : public ScanSource
{
public:
    /// Reads the poses and looks for all scans, so that a missing one shows before any work.
    /// Throws: InputError naming the folder or file: missing, a pose for an unknown scan, none of
    /// the scans there, a scan without its matrix.
    ScanFolder(const std::filesystem::path& folder,
               const std::optional<std::filesystem::path>& poseFile);

    [[nodiscard]] std::string Stage() const override { return "reading scans"; }
    [[nodiscard]] std::size_t Count() const override { return poses_.size(); }
    [[nodiscard]] Scan Take(std::size_t index) const override;

    /// PLY files of the folder that the pose file does not name.
    [[nodiscard]] const std::vector<std::string>& LeftOut() const { return leftOut_; }
    /// Number of scans that the pose file names and that are not there.
    [[nodiscard]] std::size_t CountMissing() const { return missing_; }

private:
    std::filesystem::path folder_;
    std::vector<NamedPose> poses_;
    std::vector<std::string> leftOut_;
    std::size_t missing_ = 0;
};

} // namespace scansession

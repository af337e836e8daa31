#include "examples/scansession/scans/scanfolder.h"

#include "examples/scansession/scans/inputerror.h"
#include "examples/scansession/scans/rangescan.h"

#include <algorithm>
#include <cctype>

namespace scansession
{

namespace
{

std::string LowerExtension(const std::filesystem::path& path)
{
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

/// The names of the files of one kind in a folder, sorted; the extension in any case.
std::vector<std::string> ListFiles(const std::filesystem::path& folder,
                                   const std::string& extension)
{
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error)) {
        throw InputError(folder.string() + ": no such folder");
    }
    std::vector<std::string> names;
    for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end;
         it.increment(error)) {
        if (LowerExtension(it->path()) == extension)
            names.push_back(it->path().filename().string());
    }
    if (error) throw InputError(folder.string() + ": cannot be read: " + error.message());
    std::sort(names.begin(), names.end());
    return names;
}

bool Contains(const std::vector<std::string>& names, const std::string& name)
{
    return std::binary_search(names.begin(), names.end(), name);
}

std::vector<NamedPose> ReadMatrixPoses(const std::filesystem::path& folder,
                                       const std::vector<std::string>& scans)
{
    std::vector<NamedPose> poses;
    for (const auto& scan : scans) {
        std::filesystem::path matrix = folder / scan;
        matrix.replace_extension(".xf");
        if (!std::filesystem::exists(matrix)) matrix.replace_extension(".txt");
        if (!std::filesystem::exists(matrix)) {
            throw InputError((folder / scan).string() +
                             ": no pose, neither a matrix file (.xf or .txt) nor --poses");
        }
        poses.push_back({scan, ReadMatrixFile(matrix), false});
    }
    for (const auto& matrix : ListFiles(folder, ".xf")) {
        const std::string stem = std::filesystem::path(matrix).stem().string();
        if (std::none_of(scans.begin(), scans.end(), [&](const std::string& scan) {
                return std::filesystem::path(scan).stem().string() == stem;
            })) {
            throw InputError((folder / matrix).string() + ": pose for an unknown scan, " + stem +
                             ".ply does not exist");
        }
    }
    return poses;
}

} // namespace

ScanFolder::ScanFolder(const std::filesystem::path& folder,
                       const std::optional<std::filesystem::path>& poseFile)
    : folder_(folder)
{
    const auto scans = ListFiles(folder, ".ply");
    if (scans.empty()) throw InputError(folder.string() + ": holds no PLY files");
    if (!poseFile) {
        poses_ = ReadMatrixPoses(folder, scans);
        return;
    }
    poses_ = ReadPoseFile(*poseFile);
    std::vector<std::string> named;
    missing_ = std::erase_if(poses_, [&](const NamedPose& pose) {
        return pose.mayBeMissing && !Contains(scans, pose.name);
    });
    if (poses_.empty()) {
        throw InputError(poseFile->string() + ": none of its scans is in " + folder.string());
    }
    for (const auto& pose : poses_) {
        if (!Contains(scans, pose.name)) {
            throw InputError(poseFile->string() + ": pose for an unknown scan, " +
                             (folder / pose.name).string() + " does not exist");
        }
        named.push_back(pose.name);
    }
    std::sort(named.begin(), named.end());
    std::set_difference(scans.begin(), scans.end(), named.begin(), named.end(),
                        std::back_inserter(leftOut_));
}

Scan ScanFolder::Take(std::size_t index) const
{
    const NamedPose& pose = poses_.at(index);
    RangeScan scan = ReadRangeScan(folder_ / pose.name);
    return {pose.name, pose.scanToRoot, std::move(scan.surfels), std::move(scan.unused)};
}

} // namespace scansession

#include "examples/scansession/scans/poses.h"

#include "examples/scansession/scans/inputerror.h"
#include "examples/scansession/scans/textfile.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <unordered_set>

namespace scansession
{

namespace
{

std::string PlaceOf(const std::filesystem::path& path, std::size_t line)
{
    return path.string() + ": line " + std::to_string(line) + ": ";
}

double FiniteNumber(std::string_view word, const std::string& place)
{
    const auto value = ParseNumber(word);
    if (!value || !(std::abs(*value) <= std::numeric_limits<float>::max())) {
        throw InputError(place + Quoted(word) + " is no finite number");
    }
    return *value;
}

/// The rigid transformation `p -> R(conj(q)) p + t`.
CbMatrix4Rd FromTranslationAndQuaternion(const std::array<double, 7>& v, const std::string& place)
{
    const double norm = std::hypot(std::hypot(v[3], v[4]), std::hypot(v[5], v[6]));
    if (!(norm > 1e-6 && std::isfinite(norm))) {
        throw InputError(place + "singular pose, the quaternion has no direction");
    }
    const double x = -v[3] / norm;
    const double y = -v[4] / norm;
    const double z = -v[5] / norm;
    const double w = v[6] / norm;
    // Group i of the matrix holds column i of the rotation.
    const double values[16] = {1.0 - 2.0 * (y * y + z * z),
                               2.0 * (x * y + w * z),
                               2.0 * (x * z - w * y),
                               0.0,
                               2.0 * (x * y - w * z),
                               1.0 - 2.0 * (x * x + z * z),
                               2.0 * (y * z + w * x),
                               0.0,
                               2.0 * (x * z + w * y),
                               2.0 * (y * z - w * x),
                               1.0 - 2.0 * (x * x + y * y),
                               0.0,
                               v[0],
                               v[1],
                               v[2],
                               1.0};
    return CbMatrix4Rd(values);
}

/// True if the images of the axes (nearly) lie in one plane.
bool IsSingular(const CbMatrix4Rd& m)
{
    const auto axis = [&](std::size_t i) { return Vec3{m[i][0], m[i][1], m[i][2]}; };
    const double volume = std::abs(Dot(axis(0), Cross(axis(1), axis(2))));
    const double box = Length(axis(0)) * Length(axis(1)) * Length(axis(2));
    return !(volume > 1e-9 * box && std::isfinite(box));
}

} // namespace

std::vector<NamedPose> ReadPoseFile(const std::filesystem::path& path)
{
    const std::string content = ReadWholeFile(path);
    std::vector<NamedPose> poses;
    std::unordered_set<std::string> names;
    std::size_t number = 0;
    for (const auto line : SplitLines(content)) {
        const std::string place = PlaceOf(path, ++number);
        const auto words = SplitWords(line);
        if (words.empty() || words[0].front() == '#' || words[0] == "camera") continue;
        if (words[0] != "bmesh" && words[0] != "mesh") {
            throw InputError(place + "unknown entry " + Quoted(words[0]));
        }
        if (words.size() != 9) {
            throw InputError(place +
                             "a pose needs a scan, 3 values of translation and 4 of rotation");
        }
        std::array<double, 7> values{};
        for (std::size_t i = 0; i < values.size(); ++i) {
            values[i] = FiniteNumber(words[i + 2], place);
        }
        const std::string name(words[1]);
        if (!names.insert(name).second) {
            throw InputError(place + "second pose for scan " + Quoted(name));
        }
        poses.push_back({name, FromTranslationAndQuaternion(values, place), words[0] == "mesh"});
    }
    if (poses.empty()) throw InputError(path.string() + ": holds no poses");
    return poses;
}

CbMatrix4Rd ReadMatrixFile(const std::filesystem::path& path)
{
    const std::string content = ReadWholeFile(path);
    std::vector<double> values;
    std::size_t number = 0;
    for (const auto line : SplitLines(content)) {
        const std::string place = PlaceOf(path, ++number);
        for (const auto word : SplitWords(line)) {
            if (values.size() == 16)
                throw InputError(place + "more than the 16 values of a matrix");
            values.push_back(FiniteNumber(word, place));
        }
    }
    if (values.size() < 16) {
        throw InputError(path.string() + ": holds " + std::to_string(values.size()) +
                         " of the 16 values of a matrix");
    }
    if (values[12] != 0.0 || values[13] != 0.0 || values[14] != 0.0 || values[15] != 1.0) {
        throw InputError(path.string() + ": the last row of the matrix is not 0 0 0 1");
    }
    CbMatrix4Rd matrix;
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            matrix[column][row] = values[4 * row + column];
        }
    }
    if (IsSingular(matrix)) throw InputError(path.string() + ": singular pose");
    return matrix;
}

Vec3 MapPoint(const Vec3& p, const CbMatrix4Rd& m)
{
    return {p.x * m[0][0] + p.y * m[1][0] + p.z * m[2][0] + m[3][0],
            p.x * m[0][1] + p.y * m[1][1] + p.z * m[2][1] + m[3][1],
            p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2] + m[3][2]};
}

Vec3 MapDirection(const Vec3& d, const CbMatrix4Rd& m)
{
    return {d.x * m[0][0] + d.y * m[1][0] + d.z * m[2][0],
            d.x * m[0][1] + d.y * m[1][1] + d.z * m[2][1],
            d.x * m[0][2] + d.y * m[1][2] + d.z * m[2][2]};
}

} // namespace scansession

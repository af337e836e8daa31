#include "examples/scansession/drawing/pngwriter.h"

#include "sessionfile/replacementfile.h"

#include <png.h>
#include <stdexcept>
#include <string>

namespace scansession
{

void WritePng(const Picture& picture, const std::filesystem::path& path)
{
    static_assert(sizeof(Rgb) == 3, "pixels are handed over as bytes");
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.Width());
    image.height = static_cast<png_uint_32>(picture.Height());
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<std::uint8_t> bytes(size);
    if (png_image_write_to_memory(&image, bytes.data(), &size, 0, picture.Pixels().data(), 0,
                                  nullptr) == 0) {
        throw std::runtime_error(path.string() + ": " + image.message);
    }
    sessionfile::ReplacementFile file(path);
    file.WriteBuffer(bytes.data(), size);
    file.Commit();
}

} // namespace scansession

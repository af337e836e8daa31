#include "examples/scansession/session/unknowntext.h"

#include "examples/scansession/scans/textfile.h"

namespace scansession
{

std::string DescribeUnknown(const sessionfile::UnknownRecords& unknown)
{
    constexpr std::size_t c_most = 10;
    std::string text = "unknown classes";
    std::size_t told = 0;
    const auto names = unknown.GetClassNames();
    for (const auto& name : names) {
        if (told == c_most) {
            text += " and " + std::to_string(names.size() - told) + " more";
            break;
        }
        text += (told++ > 0 ? ", " : " ") + Quoted(name);
    }
    text += ':';
    const auto models = unknown.CountModels();
    const auto attributes = unknown.CountAttributes();
    if (models > 0) text += ' ' + std::to_string(models) + " models, which have no surfels here";
    if (models > 0 && attributes > 0) text += ';';
    if (attributes > 0) text += ' ' + std::to_string(attributes) + " attributes";
    return text;
}

} // namespace scansession

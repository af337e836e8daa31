#pragma once

#include "examples/scansession/scans/inputerror.h"
#include "tests/support/tempfolder.h"

#include <gmock/gmock.h>

/// Files that a reader is to refuse.
class InputFiles : public TempFolder
{
protected:
    /// Expects an error of one line that names the file and holds @p reason.
    template<class Read>
    void ExpectRefused(const std::string& content, const std::string& reason,
                       const Read& read) const
    {
        SCOPED_TRACE(content);
        const auto path = Write("bad.ply", content);
        try {
            read(path);
            ADD_FAILURE() << "is read";
        } catch (const scansession::InputError& error) {
            EXPECT_THAT(error.what(), testing::StartsWith(path.string()));
            EXPECT_THAT(error.what(), testing::HasSubstr(reason));
            EXPECT_THAT(error.what(), testing::Not(testing::HasSubstr("\n")));
        }
        std::filesystem::remove(path); // writing over it would wait for the disk
    }
};

#include "examples/session/replacementfile.h"
#include "examples/session/sessionfile.h"
#include "platform/base/cbexceptionstream.h"
#include "tests/examples/sessionrecords.h"
#include "tests/examples/tempfolder.h"

#ifndef _WIN32
#include <csignal>
#include <sys/resource.h>
#endif

using namespace sessionfile;
using EKind = SessionError::EKind;

namespace
{

/// Fails where a number of bytes would be exceeded.
class FailingStream : public CbStreamWriteBinary
{
public:
    FailingStream(CbStreamWriteBinary& target, std::size_t bytes) : target_(target), left_(bytes) {}

protected:
    void makeRoom(std::size_t bytes) override
    {
        target_.WriteBuffer(room_.data(), room_.size());
        if (bytes > left_) throw CbExceptionStream(CB_HERE, "no more");
        left_ -= bytes;
        room_.resize(bytes);
        position_ = room_.data();
        end_ = position_ + bytes;
    }

private:
    CbStreamWriteBinary& target_;
    std::size_t left_;
    Bytes room_;
};

/// Limits the size of the process's files while it lives.
class FileSizeLimit
{
public:
#ifdef _WIN32
    explicit FileSizeLimit(std::size_t /*bytes*/) {}
    static constexpr bool c_works = false;
#else
    explicit FileSizeLimit(std::size_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
    static constexpr bool c_works = true;

private:
    rlimit before_{};
#endif
};

class SessionFile : public TempFolder
{
protected:
    [[nodiscard]] std::filesystem::path path() const { return Folder() / "a.session"; }
    void expectRefused(const std::string& reason) const
    {
        try {
            (void)LoadSession(path());
            ADD_FAILURE() << "no SessionError: " << reason;
        } catch (const SessionError& error) {
            EXPECT_EQ(error.GetKind(), EKind::Unreadable);
            EXPECT_EQ(error.what(), path().string() + reason);
        }
    }
};

} // namespace

TEST_F(SessionFile, ComesBackAndSaysWhyItCannot)
{
    const SampleTree tree;
    expectRefused(": no such file");
    SaveSession(path(), tree.root);
    EXPECT_EQ(SessionOf(LoadSession(path())), SessionOf(tree.root));
    Write("a.session", "ply\nformat ascii 1.0\n");
    expectRefused(": session: is no session");
    std::filesystem::remove(path());
    std::filesystem::create_directory(path());
    expectRefused(": is no file");
    EXPECT_THROW(SaveSession(path(), tree.root), SessionError);
    EXPECT_FALSE(std::filesystem::exists(path().string() + ".part"));
}

TEST_F(SessionFile, StaysAsItWasWhereverItsReplacementIsInterrupted)
{
    const SampleTree tree;
    SaveSession(path(), tree.root);
    const std::string before = Read(path());
    tree.root->SetDescription(CB_TEXT("new"));
    const std::size_t size = SessionOf(tree.root).size();
    for (std::size_t bytes = 0; bytes < size; ++bytes) {
        SCOPED_TRACE(bytes);
        {
            ReplacementFile file(path());
            FailingStream failing(file, bytes);
            EXPECT_THROW(WriteSession(failing, tree.root), CbExceptionStream);
        }
        if (FileSizeLimit::c_works) {
            bool failed = false;
            {
                const FileSizeLimit limit(bytes);
                try {
                    SaveSession(path(), tree.root);
                } catch (const SessionError&) {
                    failed = true;
                }
            }
            EXPECT_TRUE(failed);
        }
        ASSERT_EQ(Read(path()), before);
        ASSERT_FALSE(std::filesystem::exists(path().string() + ".part"));
    }
}

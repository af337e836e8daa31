#include "sessionfile/replacementfile.h"
#include "sessionfile/sessionfile.h"
#include "tests/sessionfile/sessionrecords.h"
#include "tests/support/failingallocations.h"
#include "tests/support/tempfolder.h"

#include <array>
#include <gmock/gmock.h>

#ifndef _WIN32
#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace sessionfile;
using EKind = SessionError::EKind;

namespace
{

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
    [[nodiscard]] auto countFiles() const
    {
        return std::distance(std::filesystem::directory_iterator(Folder()), {});
    }
    void expectRefused(const std::string& reason) const
    {
        auto kind = EKind::Unwritable;
        EXPECT_EQ(ErrorOf([&] { (void)LoadSession(path()); }, &kind), path().string() + reason);
        EXPECT_EQ(kind, EKind::Unreadable);
    }
};

} // namespace

TEST_F(SessionFile, ComesBackAndSaysWhyItCannot)
{
    const SampleTree tree;
    expectRefused(": no such file");
    SaveSession(path(), tree.root, {});
    EXPECT_EQ(SessionOf(LoadSession(path())), SessionOf(tree.root));
    Write("a.session", "ply\nformat ascii 1.0\n");
    expectRefused(": session: is no session");
    std::error_code ignored; // not every file system has sparse files
    std::filesystem::resize_file(path(), std::uintmax_t{1} << 40, ignored);
    expectRefused(": session: is no session");
    std::filesystem::remove(path());
    std::filesystem::create_directory(path());
    expectRefused(": is no regular file");
    EXPECT_THROW(SaveSession(path(), tree.root, {}), std::system_error);
    EXPECT_THAT(ErrorOf([&] { SaveSession(path() / "b", tree.cluster, {}); }),
                testing::StartsWith((path() / "b: node ").string()));
    EXPECT_TRUE(std::filesystem::is_empty(path()));
}

TEST_F(SessionFile, LeavesNothingBehindWhereverMemoryEnds)
{
    for (const auto* const model : {CB_TEXT("ZeCModelQMT"), CB_TEXT("ZeCModel3DX")}) {
        Bytes bytes = SessionOf(SampleTree().root);
        RenameClass(bytes, CB_TEXT("Tooth"), CB_TEXT("Molar"));
        RenameClass(bytes, CB_TEXT("ZeCModelQMT"), model);
        RepairChecksums(bytes);
        Write("a.session", std::string(bytes.begin(), bytes.end()));
        (void)LoadSession(path());
        const std::size_t before = AllocatedBytes();
        bool isRead = false;
        for (long allocations = 0; !isRead; ++allocations) {
            FailAllocationsAfter(allocations);
            try {
                isRead = LoadSession(path()).root != nullptr;
            } catch (const std::exception&) {
            }
            FailAllocationsAfter(-1);
            ASSERT_EQ(AllocatedBytes(), before) << allocations;
        }
    }
}

TEST_F(SessionFile, IsReplacedByOneOfTwoAndByNothingElse)
{
    const std::string id = "." + CountingId(1).ToString().ToUtf8();
    for (const std::string& name : std::initializer_list<std::string>{
             "a.session.part", "a.session.id.part", "b.session" + id + ".part",
             "a.session" + id + ".partly", "a.session" + id + "0.part"}) {
        Write(name, "mine");
    }
    Write("a.session" + id + ".part", "left behind");
    Write("a.session", "old");
    ReplacementFile first(path());
    EXPECT_FALSE(std::filesystem::exists(Folder() / ("a.session" + id + ".part")));
    {
        ReplacementFile second(path());
        second.WriteBuffer("second", 6);
        first.WriteBuffer("first", 5);
        first.Commit();
        EXPECT_EQ(Read(path()), "first");
        second.Commit();
        EXPECT_EQ(Read(path()), "second");
    }
    EXPECT_EQ(countFiles(), 6);
}

#ifndef _WIN32
TEST_F(SessionFile, KeepsThePartThatAnotherProcessHolds)
{
    ReplacementFile(path()).Commit(); // the child will go on with the same ids
    std::array<int, 2> made{};
    std::array<int, 2> alive{};
    ASSERT_EQ(pipe(made.data()) + pipe(alive.data()), 0);
    const pid_t child = fork();
    if (child == 0) {
        char byte = 0;
        close(alive[1]);
        const ReplacementFile held(path());
        (void)!write(made[1], "!", 1);
        (void)!read(alive[0], &byte, 1); // until this process ends, whatever happens
        _exit(0);
    }
    char byte = 0;
    EXPECT_EQ(read(made[0], &byte, 1), 1);
    ReplacementFile(path()).Commit();
    EXPECT_EQ(countFiles(), 2);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(countFiles(), 2) << "left behind";
    ReplacementFile(path()).Commit();
    EXPECT_EQ(countFiles(), 1);
    for (const int end : {made[0], made[1], alive[0], alive[1]}) close(end);
}

TEST_F(SessionFile, KeepsItsPermissionsAndTheLinksToIt)
{
    using std::filesystem::perms;
    Write("a.session", "old");
    std::filesystem::permissions(path(), perms::owner_read | perms::owner_write);
    const auto link = Folder() / "link";
    std::filesystem::create_symlink("a.session", link);
    ReplacementFile file(link);
    file.WriteBuffer("new", 3);
    file.Commit();
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(Read(path()), "new");
    EXPECT_EQ(std::filesystem::status(path()).permissions(),
              perms::owner_read | perms::owner_write);

    const auto nowhere = Folder() / "nowhere";
    std::filesystem::create_symlink("nothing", nowhere);
    EXPECT_THROW(ReplacementFile{nowhere}, std::system_error);
    EXPECT_TRUE(std::filesystem::is_symlink(nowhere));
    EXPECT_THROW(ReplacementFile{""}, std::system_error);
}
#endif

TEST_F(SessionFile, StaysAsItWasWhereverItsReplacementIsInterrupted)
{
    const SampleTree tree;
    SaveSession(path(), tree.root, {});
    const std::string before = Read(path());
    tree.root->SetDescription(CB_TEXT("newer"));
    for (std::size_t bytes = 0; bytes < before.size(); ++bytes) {
        SCOPED_TRACE(bytes);
        ReplacementFile(path()).WriteBuffer(before.data(), bytes);
        if (FileSizeLimit::c_works) {
            const FileSizeLimit limit(bytes);
            EXPECT_THROW(SaveSession(path(), tree.root, {}), std::system_error);
        }
        ASSERT_EQ(Read(path()), before);
        ASSERT_EQ(countFiles(), 1);
    }
}

// Navo killed at random moments while it files recordings and saves the
// store: afterwards the store opens and holds every record whose filing had
// finished, each with its line in the family file.
#include <gtest/gtest.h>

#include <random>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "StoreFixture.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/Prompt.h"
#include "store/ComponentFiles.h"
#include "store/DataStore.h"
#include "store/FamilyFile.h"
#include "store/IndexLine.h"

namespace {

// Nobody answers message boxes in the child.
class SilentPrompt : public Prompt {
public:
    int messageBox(const std::string&, UINT, const std::string&) override { return IDOK; }
    std::optional<std::string> chooseFile(const FileDialogRequest&) override { return std::nullopt; }
};

constexpr int kKillPoints = 24;

}  // namespace

class KillDuringSaveTest : public StoreFixture {
protected:
    // The child: open the store like a fresh start, then file and save
    // until killed, reporting each RecID whose filing returned.
    [[noreturn]] void runChild(int reportFd)
    {
        SilentPrompt silent;
        setPrompt(&silent);
        // A fresh workspace, as after a restart (the fork's memory is its own).
        if (workspace::Workspace(app, workspace::kCreate, "*.*") != 0)
            _exit(3);
        DataStore store;
        if (store.extract(app) != 0)
            _exit(4);
        for (int n = 0;; ++n) {
            const long recId = fileDictation("Record " + std::to_string(n), "kill test", 4000 + 997 * (n % 7));
            if (lastResult == 0)
                (void)!::write(reportFd, &recId, sizeof recId);
            if (n % 3 == 2)
                store.save(app);
        }
    }
};

TEST_F(KillDuringSaveTest, StoreHoldsEveryRecordFiledBeforeTheKill)
{
    buildStore();
    std::mt19937 random(20261122);
    std::vector<long> filed;

    for (int round = 0; round < kKillPoints; ++round) {
        int pipeFds[2];
        ASSERT_EQ(::pipe(pipeFds), 0);
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            ::close(pipeFds[0]);
            runChild(pipeFds[1]);
        }
        ::close(pipeFds[1]);
        // Killed at a random moment after its first filing returned, so each
        // round gets work done however loaded the machine is.
        long recId;
        ASSERT_EQ(::read(pipeFds[0], &recId, sizeof recId), static_cast<ssize_t>(sizeof recId))
            << "the child filed nothing";
        filed.push_back(recId);
        ::usleep(std::uniform_int_distribution<int>(0, 150000)(random));
        ::kill(pid, SIGKILL);
        int status = 0;
        ::waitpid(pid, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status)) << "child ended by itself, status " << status;
        while (::read(pipeFds[0], &recId, sizeof recId) == sizeof recId)
            filed.push_back(recId);
        ::close(pipeFds[0]);

        // Open it as the next start would.
        ASSERT_EQ(RPS_Check(storePath().c_str()), 0) << "round " << round;
        const std::string check = root() + "/check";
        std::filesystem::remove_all(check);
        std::filesystem::create_directory(check);
        ASSERT_EQ(ExtractFile(storePath().c_str(), components::kDictation, check.c_str()), 0);
        const std::uintmax_t familySize = std::filesystem::file_size(check + "/" + components::kDictation);
        EXPECT_EQ(familySize % indexline::kLineBytes, 0u) << "round " << round;
        for (long id : filed) {
            EXPECT_EQ(CheckForFile(storePath().c_str(), RecordFiler::recordFileName(id).c_str()), 0)
                << "record " << id << " lost in round " << round;
        }
        // Every filed record's line is in the family file the store holds.
        const std::string family = readAll(check + "/" + components::kDictation);
        for (long id : filed)
            EXPECT_NE(family.find(indexline::recIdText(id) + " 0 0 "), std::string::npos) << id;
    }
    RecordProperty("filed", static_cast<int>(filed.size()));
}

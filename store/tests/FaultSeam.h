// The file seam's and the store library's faults as the store's fault tests
// use them: a writer run once to count its writes, then again with each
// write or sync failing or the process dying there.
#pragma once

#include "FaultVfs.h"
#include "StoreFixture.h"
#include "platform/FileOps.h"

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace faultseam {

// The seam's plan while alive; none after, so checks read undisturbed.
struct SeamPlan {
    explicit SeamPlan(const fileops::FaultPlan& plan) { fileops::setFaultPlan(plan); }
    ~SeamPlan() { fileops::clearFaultPlan(); }
    SeamPlan(const SeamPlan&) = delete;
    SeamPlan& operator=(const SeamPlan&) = delete;
};

// Runs body in a forked child whose seam kills it at step n; the child's
// wait status, -1 when it could not be run.
inline int runDyingAt(int n, const std::function<void()>& body)
{
    const pid_t child = ::fork();
    if (child < 0)
        return -1;
    if (child == 0) {
        fileops::FaultPlan die;
        die.dieAt = n;
        fileops::setFaultPlan(die);
        body();
        ::_exit(0);
    }
    int status = 0;
    return ::waitpid(child, &status, 0) == child ? status : -1;
}

inline bool diedAtStep(int status)
{
    return status >= 0 && WIFEXITED(status) && WEXITSTATUS(status) == fileops::kDiedExitCode;
}

// The bytes of some files and of every file in a folder, put back by
// restore() (files made since are removed).
class FilesSnapshot {
public:
    void take(const std::vector<std::string>& files, const std::string& folder)
    {
        m_folder = folder;
        m_files.clear();
        for (const std::string& file : files)
            m_files[file] = readAll(file);
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.is_regular_file())
                m_files[entry.path().string()] = readAll(entry.path().string());
    }
    void restore() const
    {
        for (const auto& entry : std::filesystem::directory_iterator(m_folder))
            if (m_files.count(entry.path().string()) == 0)
                std::filesystem::remove_all(entry.path());
        for (const auto& [path, bytes] : m_files)
            if (readAll(path) != bytes)
                writeAll(path, bytes);
    }

private:
    std::string m_folder;
    std::map<std::string, std::string> m_files;
};

// Which faults everyFault() injects besides deaths at every store write and
// sync, disk full at every workspace write, and death at every workspace step.
struct Faults {
    int diskFullEvery = 1;      // the store's disk full from every Nth write
    bool failedSyncs = true;    // a sync that fails, in the store and the workspace
};

// Runs writer once cleanly (afterClean checks that run's outcome), then, for
// every fault, restore() then writer() under the fault then check(). Deaths
// in the workspace happen in a forked child.
inline void everyFault(const std::function<void()>& writer, const std::function<void()>& restore,
                       const std::function<void()>& afterClean, const std::function<void()>& check,
                       Faults faults = {})
{
    using faultvfs::Plan;
    int writes = 0;
    int syncs = 0;
    fileops::FaultCounts seam;
    {
        faultvfs::UseFaultVfs vfs(Plan{});
        SeamPlan counting{fileops::FaultPlan{}};
        writer();
        writes = faultvfs::FaultVfs::instance().writes();
        syncs = faultvfs::FaultVfs::instance().syncs();
        seam = fileops::faultCounts();
    }
    afterClean();
    ASSERT_GT(writes, 0);
    ASSERT_GT(seam.writes, 0);

    auto attempt = [&](const Plan& plan, const fileops::FaultPlan& seamPlan, const std::string& what) {
        SCOPED_TRACE(what);
        restore();
        {
            faultvfs::UseFaultVfs vfs(plan);
            SeamPlan inSeam(seamPlan);
            writer();
        }
        check();
    };
    for (int n = 1; n <= writes; ++n) {
        if ((n - 1) % faults.diskFullEvery == 0) {
            Plan full;
            full.failWriteAt = n;
            full.writeError = SQLITE_FULL;
            full.sticky = true;
            attempt(full, {}, "disk full from write " + std::to_string(n));
        }
        Plan die;
        die.crashAtWrite = n;
        attempt(die, {}, "death at write " + std::to_string(n));
    }
    for (int n = 1; n <= syncs; ++n) {
        if (faults.failedSyncs) {
            Plan fail;
            fail.failSyncAt = n;
            attempt(fail, {}, "sync " + std::to_string(n) + " fails");
        }
        Plan die;
        die.crashAtSync = n;
        attempt(die, {}, "death at sync " + std::to_string(n));
    }
    for (int n = 1; n <= seam.writes; ++n) {
        fileops::FaultPlan full;
        full.failWriteAt = n;
        full.sticky = true;
        attempt({}, full, "workspace disk full from write " + std::to_string(n));
    }
    for (int n = 1; faults.failedSyncs && n <= seam.syncs; ++n) {
        fileops::FaultPlan fail;
        fail.failSyncAt = n;
        attempt({}, fail, "workspace sync " + std::to_string(n) + " fails");
    }
    for (int n = 1; n <= seam.steps; ++n) {
        SCOPED_TRACE("death at workspace step " + std::to_string(n));
        restore();
        // The same writer on the same state takes the same steps.
        const int status = runDyingAt(n, writer);
        ASSERT_TRUE(diedAtStep(status)) << "status " << status;
        check();
    }
}

}  // namespace faultseam

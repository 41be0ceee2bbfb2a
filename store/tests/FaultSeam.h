// The file seam's faults as the store's fault tests use them.
#pragma once

#include "platform/FileOps.h"

#include <functional>
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

}  // namespace faultseam

#pragma once
// The greeting and warning a new data store starts with, built into the
// library from res/sounds so that a store can be made without any resource
// folder beside the program.

#include <cstddef>

namespace vxsave {

extern const unsigned char kDefaultGreeting[];
extern const std::size_t kDefaultGreetingSize;
extern const unsigned char kDefaultWarning[];
extern const std::size_t kDefaultWarningSize;

}  // namespace vxsave

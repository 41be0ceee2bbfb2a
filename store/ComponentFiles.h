// The component files of a data store: where each lives in the workspace and
// inside the store, and which family file holds the lines of a record type.
#pragma once

#include <string>
#include <vector>

namespace components {

inline constexpr const char* kDictation = "Telvarine.vxr";
inline constexpr const char* kMeeting = "Telvarine.vxm";
inline constexpr const char* kPhone = "Telvarine.vxp";
inline constexpr const char* kDiary = "Telvarine.vxd";
inline constexpr const char* kIndex = "Telvarine.vxi";
inline constexpr const char* kPhoneBook = "Telvarine.vxb";
inline constexpr const char* kTemplates = "Telvarine.vxc";
inline constexpr const char* kCounterA = "Telvarine.vxa";
inline constexpr const char* kCounterL = "Telvarine.vxl";
inline constexpr const char* kGreeting = "vxgreet.wav";
inline constexpr const char* kWarning = "vxwarn.wav";

// A new counter component holds these nine characters and no line end.
inline constexpr const char* kCounterSeed = "999999999";

// The eleven members extracted when a store opens, in extraction order.
const std::vector<const char*>& extracted();
// The nine put back by Save, in their order (the two sounds stay as they are).
const std::vector<const char*>& saved();
// The seven whose working copies Open drops before it extracts another store.
const std::vector<const char*>& droppedOnOpen();

// The family file of a record type code: "" for a type that has none.
std::string familyFileForType(int recordType);

// Puts the working copy of one component (the greeting, say) into the store
// at once, replacing the stored one; the store is as it was when this fails.
bool putIntoStore(const std::string& storePath, const std::string& workspace, const char* name);

// workspace + "/" + name.
std::string workspacePath(const std::string& workspace, const std::string& name);

}  // namespace components

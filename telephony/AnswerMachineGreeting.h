// The answer machine's greeting: "vxgreet.wav" in the workspace, kept in the
// data store beside the component files so that it survives closing and
// reopening the store. "Use dictation as greeting" replaces it with the
// sound of a filed dictation.
#pragma once

#include <string>

struct AppData;

class AnswerMachineGreeting {
public:
    static constexpr const char* kFileName = "vxgreet.wav";

    // workspace + "/vxgreet.wav".
    static std::string path(const std::string& workspace);

    // Takes record file recordFileName ("%08d.vxz") from the open store,
    // opens it in the workspace, copies its sound over the greeting and puts
    // the greeting into the store. 0, or the code of the message to show:
    // 111 the record file is not in the store, 112/113 it cannot be read or
    // is damaged, or holds no sound the line can play, 721 its compressed
    // sound would not convert into the line's format, 109 the greeting
    // cannot be written or stored. The old greeting stays on any failure,
    // and the record's working copies are deleted whatever happens.
    static int fromDictation(const AppData& app, const std::string& recordFileName);
};

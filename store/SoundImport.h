// Sound files (WAV, MP3, WMA, OGG) as new records of a list's type, and video
// files (WMV) as records of the Video list. The sound is decoded, converted
// to the recording quality set in Options ("RecQual") and filed through
// RecordImport like any imported record: a new RecID, filed in batches of
// one transaction each, and a file imported twice is skipped the second
// time. A wave already in the recording quality is copied, not converted. The subject is the
// file's title tag, or its name; the date its date tag, or the time the
// file was last written.
//
// A video record keeps the video file itself in its record file (member
// "<base>.wmv", beside the sound), so nothing of it is lost; its sound track
// is the record's sound, and a video without one gets silence of its length.
#pragma once

#include <string>
#include <vector>

#include "store/RecordImport.h"

struct AppData;

class SoundImport {
public:
    SoundImport(AppData& app, RecordImport& records);

    // Each file as a new record of listType (1 Dictation ... 6 Video); video
    // files go to the Video list whatever listType says. A file that cannot
    // be read is refused by name and reason; the others still come in.
    ImportReport importFiles(const std::vector<std::string>& paths, int listType,
                             const ImportProgress& progress = {});

private:
    bool importOne(const std::string& path, int listType, ImportReport* report);

    AppData& m_app;
    RecordImport& m_records;
    std::string m_scratch;  // for decoded sound, made when first needed
};

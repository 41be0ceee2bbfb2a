// Exports of filed records (the record menu's 2115 to 2119 and 8022, and the
// search results' menu): each record is taken out of the data store and
// either copied as its record file (".vxz") or its sound converted through
// the File Converter into WAV, MP3, WMA or OGG, tagged with the record's
// subject (title), start date (date) and caller or author (artist).
//
// File names are "<RecID> <subject>.<ext>". With "ExpPrompt" on, a save
// chooser offers each record's name in turn; with it off, one chooser on
// the first record's name decides the folder, and every record is written
// there under its own name (a file already there is replaced only when the
// user says Yes). Cancelling a chooser ends the export before anything is
// written.
//
// WMV (8022, the Video list): a record whose record file holds a ".wmv"
// member is exported as that file; a record with sound only (every video
// record Navo can make today) becomes an audio-only ASF file under ".wmv",
// its sound as WMA, so that it plays wherever a WMV plays.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "audio/FileConverter.h"

struct AppData;

class RecordExporter {
public:
    enum Kind : int { kNavo = 2115, kWav = 2116, kMp3 = 2117, kWma = 2118, kOgg = 2119, kWmv = 8022 };

    // Runs the conversions, in Navo the File Converter dialog; returns how
    // many of the jobs ended with their file in place.
    using RunConverter = std::function<int(std::vector<FileConverter::Job>)>;

    struct Result {
        int exported = 0;                // files written
        int failed = 0;                  // records that could not be read or converted
        bool cancelled = false;          // a chooser was cancelled: nothing written
        std::vector<std::string> files;  // the target paths, in order ("" for one kept)
    };

    RecordExporter(AppData& app, RunConverter runConverter);

    // Exports the records recIds ("%08d") as kind. A record that cannot be
    // read is reported (its message code) and left out.
    Result exportRecords(int kind, const std::vector<std::string>& recIds);

    // What a record's file is called, and the tags it gets.
    struct Naming {
        std::string fileName;  // "<RecID> <subject>.<ext>", no folder
        std::string title;     // UTF-8
        std::string artist;    // UTF-8
        std::string date;      // "yyyy-mm-dd", or empty
    };
    // From the record's index line and the user who saved it (Windows-1252).
    static Naming namingFor(int kind, const std::string& line, const std::string& author);
    static const char* extensionOf(int kind);  // ".vxz", ".wav", ... ; "" for an unknown kind
    static int formatCodeOf(int kind);         // the converter's code; -1 for ".vxz"

private:
    struct Taken;
    int take(const std::string& recId, int kind, Taken* taken);

    AppData& m_app;
    RunConverter m_runConverter;
};

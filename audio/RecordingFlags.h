// The recording flags the wave engine shares with the recorder dialogs, all
// used on the UI thread only:
//
//   LevelMeterOn  a recorder sets it to 1 once StartRecord succeeded and to
//                 0 after stopping; the engine measures levels only while 1
//   Paused        1 while the recorder's pause button is down: buffers keep
//                 cycling but nothing is written and no level is measured
//   LeftLevel, RightLevel  the last peak levels, 0..99 (mono: both the same)
//   LevelUpdated  set to 1 whenever new levels were stored; the recorder's
//                 timer reads the levels and clears it
//
// A level meter follows LeftLevel/RightLevel whenever LevelUpdated is 1.
#pragma once

struct RecordingFlags {
    int LevelMeterOn = 0;
    int Paused = 0;
    int LeftLevel = 0;
    int RightLevel = 0;
    int LevelUpdated = 0;
};

// The application's flags, shared by the engine and every recorder.
RecordingFlags& theRecordingFlags();

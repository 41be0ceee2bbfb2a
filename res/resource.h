// Resource numbers: dialogs, controls, menus, commands, bitmaps and sounds.
//
// One list, NAVO_RESOURCE_IDS, gives every name with its number. It becomes
// the enum below and the name-to-number table that assignControlNumbers()
// uses: dialog layouts name their widgets after these constants, and at run
// time each widget's objectName becomes its number ("10002"), so tests and
// tools find controls by number. A number may carry several names when
// different dialogs reuse it.
//
// OK and Cancel are the dialog results IDOK (1) and IDCANCEL (2) of
// platform/WinTypes.h.
#pragma once

#define NAVO_RESOURCE_IDS(X)                                                  \
    /* System menu */                                                         \
    X(IDM_ABOUTBOX, 16)                                                       \
    /* Dialogs */                                                             \
    X(IDD_ABOUTBOX, 110)                                                      \
    X(IDD_NAVO_DIALOG, 112)                                                   \
    X(IDD_MODEM_SELECTION, 113)                                               \
    X(IDD_DICTATION_RECORDER, 114)                                            \
    X(IDD_MESSAGE_PLAYER, 115)                                                \
    X(IDD_MEETING_RECORDER, 116)                                              \
    X(IDD_INCOMING_CALL, 118)                                                 \
    X(IDD_DIARY_RECORDER, 120)                                                \
    X(IDD_DICTATION_EDITOR, 122)                                              \
    X(IDD_PHONE_RECORDER, 125)                                                \
    X(IDD_OPTIONS, 128)                                                       \
    X(IDD_PHONE_BOOK, 129)                                                    \
    X(IDD_SPLASH, 132)                                                        \
    X(IDD_PHONEBOOK_ENTRY, 135)                                               \
    X(IDD_PHONEBOOK_EDIT, 136)                                                \
    X(IDD_DIALER, 137)                                                        \
    X(IDD_PHONE_MESSAGE_PLAYER, 138)                                          \
    X(IDD_DIARY_REMINDER, 139)                                                \
    X(IDD_MIXING_STUDIO, 140)                                                 \
    X(IDD_COMPRESSOR, 143)                                                    \
    X(IDD_MODEM_TESTER, 150)                                                  \
    X(IDD_FILE_CONVERTER, 151)                                                \
    X(IDD_EXPORT_OPTIONS, 152)                                                \
    X(IDD_HOT_KEYS, 153)                                                      \
    X(IDD_TRANSLATOR, 154)                                                    \
    X(IDD_VIDEO_RECORDER, 6000)                                               \
    /* Main window (dialog 112) */                                            \
    X(IDC_RECORD_LIST, 10002)                                                 \
    X(IDC_PROGRESS_TEXT, 10003)                                               \
    X(IDC_STATUS_TEXT, 10004)                                                 \
    X(IDC_HEADING, 10042)                                                     \
    X(IDC_RECORD_TYPES, 10194)                                                \
    X(IDR_MAIN_MENU, 2001)                                                    \
    X(IDR_RECORD_MENU, 2100)                                                  \
    X(IDR_TOOLBAR, 2360)                                                      \
    X(ID_TB_NEW_RECORDING, 8017)                                              \
    X(ID_TB_PLAY, 8018)                                                       \
    X(ID_TB_SEND, 8019)                                                       \
    X(ID_TB_SEARCH, 8020)                                                     \
    X(ID_TB_NAVOING, 8021)                                                    \
    /* Main window controls that have no F1 help text */                      \
    X(IDC_MAIN_10006, 10006)                                                  \
    X(IDC_MAIN_10008, 10008)                                                  \
    X(IDC_MAIN_10010, 10010)                                                  \
    X(IDC_MAIN_10012, 10012)                                                  \
    /* Tool bar window; control bars use 0xE800 to 0xE8FF */                  \
    X(AFX_IDW_TOOLBAR, 0xE800)                                                \
    /* Main menu commands (menu 2001) */                                      \
    X(ID_MODEM_SELECTION, 2002)                                               \
    X(ID_START_MONITORING, 2003)                                              \
    X(ID_STOP_MONITORING, 2004)                                               \
    X(ID_ANSWER_MACHINE_ON, 2005)                                             \
    X(ID_ANSWER_MACHINE_OFF, 2006)                                            \
    X(ID_OPEN_DATASTORE, 2050)                                                \
    X(ID_EXIT, 2051)                                                          \
    X(ID_NEW_DATASTORE, 2052)                                                 \
    X(ID_OPTIONS, 2153)                                                       \
    X(ID_PHONE_BOOK, 2154)                                                    \
    X(ID_COMPRESS_DATASTORE, 2164)                                            \
    X(ID_DIARY_MONITOR, 2165)                                                 \
    X(ID_AGENDAS, 2166)                                                       \
    X(ID_TEMPLATES, 2167)                                                     \
    X(ID_OFFLINE_MEETING, 2168)                                               \
    X(ID_HOT_KEYS, 2175)                                                      \
    X(ID_TEXT_TO_SPEECH, 2176)                                                \
    X(ID_NEW_RECORDING, 2177)                                                 \
    X(ID_HELP_NAVO, 2180)                                                     \
    X(ID_ABOUT_NAVO, 2181)                                                    \
    X(ID_HELP_NAVOING, 2183)                                                  \
    X(ID_NAVO_WEB, 2184)                                                      \
    /* Import and export (menu 2001) */                                       \
    X(ID_IMPORT_DATASTORE, 2150)                                              \
    X(ID_IMPORT_MESSAGE_FILE, 2151)                                           \
    X(ID_IMPORT_WAV, 2152)                                                    \
    X(ID_EXPORT_PHONE_BOOK, 2158)                                             \
    X(ID_EXPORT_TEMPLATES, 2159)                                              \
    X(ID_IMPORT_PHONE_BOOK_STORE, 2160)                                       \
    X(ID_IMPORT_PHONE_BOOK_FILE, 2161)                                        \
    X(ID_IMPORT_TEMPLATES_STORE, 2162)                                        \
    X(ID_IMPORT_TEMPLATES_FILE, 2163)                                         \
    X(ID_IMPORT_AGENDAS_STORE, 2169)                                          \
    X(ID_IMPORT_AGENDAS_FILE, 2170)                                           \
    X(ID_EXPORT_AGENDAS, 2171)                                                \
    X(ID_IMPORT_MP3, 2172)                                                    \
    X(ID_IMPORT_WMA, 2173)                                                    \
    X(ID_IMPORT_OGG, 2174)                                                    \
    X(ID_IMPORT_WMV, 8023)                                                    \
    X(ID_IMPORT_VIDEO_FILE, 8024)                                             \
    /* Record list context menu (menu 2100) */                                \
    X(ID_RECORD_EDIT, 2101)                                                   \
    X(ID_RECORD_DELETE, 2102)                                                 \
    X(ID_RECORD_REDIAL, 2103)                                                 \
    X(ID_RECORD_NEW_DICTATION, 2104)                                          \
    X(ID_RECORD_PLAY, 2105)                                                   \
    X(ID_RECORD_USE_AS_GREETING, 2107)                                        \
    X(ID_RECORD_2108, 2108)                                                   \
    X(ID_RECORD_ADD_TO_PHONEBOOK, 2109)                                       \
    X(ID_RECORD_FROM_TEMPLATE, 2110)                                          \
    X(ID_RECORD_SEND, 2112)                                                   \
    X(ID_RECORD_PLAY_OVER_LINE, 2114)                                         \
    X(ID_RECORD_EXPORT_NAVO, 2115)                                            \
    X(ID_RECORD_EXPORT_WAV, 2116)                                             \
    X(ID_RECORD_EXPORT_MP3, 2117)                                             \
    X(ID_RECORD_EXPORT_WMA, 2118)                                             \
    X(ID_RECORD_EXPORT_OGG, 2119)                                             \
    X(ID_RECORD_PRINT, 2120)                                                  \
    X(ID_RECORD_EXPORT_WMV, 8022)                                             \
    /* Options (dialog 128) */                                                \
    X(IDC_PHONE_COST, 10105)                                                  \
    X(IDC_MEET_COST, 10106)                                                   \
    X(IDC_PRIME, 10107)                                                       \
    X(IDC_HIGHLIGHT, 10108)                                                   \
    X(IDC_PHONE_WARNING, 10115)                                               \
    X(IDC_SILENCE, 10116)                                                     \
    X(IDC_SILENCE_SECS, 10117)                                                \
    X(IDC_RINGS, 10120)                                                       \
    X(IDC_RINGS_SPIN, 10124)                                                  \
    X(IDC_EXPORT_PROMPT, 10159)                                               \
    X(IDC_RUN_DIARY, 10201)                                                   \
    X(IDC_COMPRESS, 10221)                                                    \
    X(IDC_CURRENCY, 10256)                                                    \
    X(IDC_QUALITY_VOICE, 10275)                                               \
    X(IDC_QUALITY_STEREO, 10276)                                              \
    X(IDC_QUALITY_RADIO, 10277)                                               \
    X(IDC_QUALITY_CD, 10278)                                                  \
    /* Hot Keys (dialog 153); each control number is also the hot key's id */ \
    X(IDC_HOTKEYS_SAVE, 3)                                                    \
    X(IDC_HOTKEY_REWIND, 10310)                                               \
    X(IDC_HOTKEY_REWIND_2SEC, 10311)                                          \
    X(IDC_HOTKEY_PREV_MARK, 10312)                                            \
    X(IDC_HOTKEY_PLAY, 10313)                                                 \
    X(IDC_HOTKEY_STOP, 10314)                                                 \
    X(IDC_HOTKEY_NEXT_MARK, 10315)                                            \
    /* Modem Selection (dialog 113); 8008 only carries a tool tip */          \
    X(IDC_MODEM_8008, 8008)                                                   \
    X(IDC_MODEM_CANCEL, 8009)                                                 \
    X(IDC_MODEM_SELECT, 8010)                                                 \
    X(IDC_MODEM_TEST, 8011)                                                   \
    X(IDC_MODEM_LIST, 10038)                                                  \
    /* Incoming call (dialog 118); Answer and Message are buttons 1 and 2 */  \
    X(IDC_CALLER_NUMBER, 10037)                                               \
    X(IDC_CALLER_NAME, 10039)                                                 \
    /* Phone recorder (dialog 125) */                                         \
    X(IDC_PHONE_CALLER_NUMBER, 10043)                                         \
    X(IDC_PHONE_CALLER_NAME, 10044)                                           \
    /* Phone book (dialog 129) with its entry and edit dialogs (135, 136);    \
       10109 is also the phone book's type-ahead box */                       \
    X(IDC_PB_NAME, 10109)                                                     \
    X(IDC_PB_LIST, 10110)                                                     \
    X(IDC_PB_NUMBER, 10111)                                                   \
    X(IDC_PB_OFFSET, 10112)                                                   \
    X(IDR_PHONEBOOK_MENU, 2250)                                               \
    X(ID_PB_DIAL, 2251)                                                       \
    X(ID_PB_EDIT, 2252)                                                       \
    X(ID_PB_DELETE, 2253)                                                     \
    /* Phone Message Player (dialog 138) */                                   \
    X(IDC_LINE_PLAY, 10192)                                                   \
    X(IDC_LINE_STOP, 10193)                                                   \
    X(IDC_LINE_CANCEL, 10195)                                                 \
    /* Modem Tester (dialog 150); Cancel is button 2 */                       \
    X(IDC_TEST_LOG, 10261)                                                    \
    X(IDC_TEST_START, 10262)                                                  \
    X(IDC_TEST_STOP, 10263)                                                   \
    X(IDC_TEST_NUMBER, 10264)                                                 \
    X(IDC_TEST_SPARE, 10265)                                                  \
    /* Dictation recorder (dialog 114); the diary recorder and the dictation  \
       editor reuse several of these */                                       \
    X(IDC_NAVO_ID, 10005)                                                     \
    X(IDC_START_TIME, 10007)                                                  \
    X(IDC_POSITION, 10013)                                                    \
    X(IDC_SUBJECT, 10016)                                                     \
    X(IDC_RECID, 10041)                                                       \
    X(IDC_REC_OK, 10052)                                                      \
    X(IDC_REC_CANCEL, 10055)                                                  \
    X(IDC_INSERT_PICTURE, 10058)                                              \
    X(IDC_REMOVE_PICTURE, 10060)                                              \
    X(IDC_END_TIME, 10063)                                                    \
    X(IDC_KEYWORDS, 10076)                                                    \
    X(IDC_COMMENTS, 10083)                                                    \
    X(IDC_MARK, 10097)                                                        \
    X(IDC_INDEX_COMMENT, 10098)                                               \
    X(IDC_REC_RWND, 10162)                                                    \
    X(IDC_REC_PLAY, 10163)                                                    \
    X(IDC_REC_STOP, 10165)                                                    \
    X(IDC_REC_RECORD, 10167)                                                  \
    X(IDC_REC_FFWD, 10169)                                                    \
    X(IDC_START_SLIDER, 10171)                                                \
    X(IDC_RECORD_INSERT, 10174)                                               \
    X(IDC_END_SLIDER, 10176)                                                  \
    X(IDC_LENGTH, 10177)                                                      \
    X(IDC_INDEX_LIST, 10178)                                                  \
    X(IDC_RESET, 10181)                                                       \
    X(IDC_CUT, 10183)                                                         \
    X(IDC_CUT_FROM_MSEC, 10196)                                               \
    X(IDC_CUT_TO_MSEC, 10197)                                                 \
    X(IDC_CUT_FROM_SPIN, 10199)                                               \
    X(IDC_CUT_TO_SPIN, 10200)                                                 \
    X(IDC_CUT_FROM_TIME, 10203)                                               \
    X(IDC_CUT_TO_TIME, 10205)                                                 \
    X(IDC_POSITION_PROGRESS, 10235)                                           \
    X(IDC_REC_HELP, 10260)                                                    \
    X(IDC_PICTURE, 10341)                                                     \
    X(IDR_INDEX_EDIT_MENU, 2300)                                              \
    X(IDR_INDEX_MARK_MENU, 2311)                                              \
    X(IDR_PICTURE_MENU, 2370)                                                 \
    /* Dictation Editor (dialog 122) */                                       \
    X(IDC_EDITOR_SUBJECT, 10045)                                              \
    /* Diary recorder (dialog 120); the level bars take every second number   \
       from the first to the last */                                          \
    X(IDC_DIARY_PICKUP, 10065)                                                \
    X(IDC_DIARY_STOP, 10067)                                                  \
    X(IDC_DIARY_PAUSE, 10071)                                                 \
    X(IDC_DIARY_SUBJECT, 10090)                                               \
    X(IDC_LEVEL_BAR_FIRST, 10118)                                             \
    X(IDC_LEVEL_BAR_LAST, 10135)                                              \
    X(IDC_DIARY_DATE, 10155)                                                  \
    X(IDC_DIARY_TIME, 10202)                                                  \
    X(IDC_AUTO_REMINDER, 10204)                                               \
    X(IDC_NAG_ME, 10268)                                                      \
    /* Diary Reminder (dialog 139) */                                         \
    X(IDC_SNOOZE, 10198)                                                      \
    X(IDC_REMINDER_CANCEL, 10206)                                             \
    X(IDC_REMINDER_STOP, 10207)                                               \
    X(IDC_REMINDER_PLAY, 10208)                                               \
    X(IDC_SNOOZE_MINUTES, 10209)                                              \
    X(IDC_SNOOZE_SPIN, 10210)                                                 \
    X(IDC_REMINDER_NAG_ME, 10267)                                             \
    /* Message player (dialog 115) */                                         \
    X(IDC_PLAYER_START, 8004)                                                 \
    X(IDC_PLAYER_PAUSE, 8005)                                                 \
    X(IDC_PLAYER_STOP, 8006)                                                  \
    X(IDC_PLAYER_PROGRESS, 8007)                                              \
    X(IDC_PLAYER_MARK, 10086)                                                 \
    X(IDC_PLAYER_INDEX_LIST, 10095)                                           \
    X(IDC_PLAYER_RWND, 10164)                                                 \
    X(IDC_PLAYER_PREV, 10166)                                                 \
    X(IDC_PLAYER_NEXT, 10168)                                                 \
    X(IDC_PLAYER_RECORD, 10170)                                               \
    X(IDC_PLAYER_FFWD, 10173)                                                 \
    X(IDC_PLAYER_POSITION, 10180)                                             \
    X(IDC_PLAYER_OK, 10182)                                                   \
    X(IDC_PLAYER_CANCEL, 10184)                                               \
    X(IDC_PLAYER_NEW, 10186)                                                  \
    X(IDC_RECORD_CONTROL, 10319)                                              \
    /* Message player effects panel */                                        \
    X(IDC_EFFECTS, 10283)                                                     \
    X(IDC_ECHO, 10284)                                                        \
    X(IDC_ECHO_LEVEL, 10285)                                                  \
    X(IDC_CHORUS, 10286)                                                      \
    X(IDC_CHORUS_LEVEL, 10287)                                                \
    X(IDC_DISTORTION, 10288)                                                  \
    X(IDC_DISTORTION_LEVEL, 10289)                                            \
    X(IDC_ECHO_ON, 10290)                                                     \
    X(IDC_CHORUS_ON, 10291)                                                   \
    X(IDC_DISTORTION_ON, 10292)                                               \
    X(IDC_FLANGER, 10293)                                                     \
    X(IDC_FLANGER_LEVEL, 10294)                                               \
    X(IDC_GARGLE, 10295)                                                      \
    X(IDC_GARGLE_LEVEL, 10296)                                                \
    X(IDC_EQUALIZER, 10297)                                                   \
    X(IDC_EQUALIZER_LEVEL, 10298)                                             \
    X(IDC_REVERB, 10299)                                                      \
    X(IDC_REVERB_LEVEL, 10300)                                                \
    X(IDC_GARGLE_ON, 10301)                                                   \
    X(IDC_EQUALIZER_ON, 10302)                                                \
    X(IDC_REVERB_ON, 10303)                                                   \
    X(IDC_REVERSE, 10305)                                                     \
    X(IDC_FLANGER_ON, 10306)                                                  \
    X(IDC_SPEED_LEVEL, 10309)                                                 \
    /* Message player commands, also sent by hot keys and the mini player */  \
    X(ID_MINI_REWIND, 10310)                                                  \
    X(ID_MINI_REWIND_2SEC, 10311)                                             \
    X(ID_MINI_PREVIOUS, 10312)                                                \
    X(ID_MINI_PLAY, 10313)                                                    \
    X(ID_MINI_STOP, 10314)                                                    \
    X(ID_MINI_NEXT, 10315)                                                    \
    /* Mixing studio (dialog 140); Cancel is button 1; the buttons 10139 to   \
       10141 and 10147 are named by their numbers */                          \
    X(ID_MIXING_STUDIO, 2185)                                                 \
    X(IDC_STUDIO_10139, 10139)                                                \
    X(IDC_STUDIO_10140, 10140)                                                \
    X(IDC_STUDIO_10141, 10141)                                                \
    X(IDC_STUDIO_PLAY, 10145)                                                 \
    X(IDC_STUDIO_EXTRACT, 10146)                                              \
    X(IDC_STUDIO_10147, 10147)                                                \
    X(IDC_STUDIO_RECORDINGS, 10148)                                           \
    X(IDC_STUDIO_MERGE_LIST, 10149)                                           \
    X(IDC_STUDIO_PROGRESS, 10150)                                             \
    X(IDC_STUDIO_STOP, 10151)                                                 \
    X(IDC_STUDIO_PLAY_LIST, 10153)                                            \
    X(IDC_STUDIO_INDEX_LIST, 10095)                                           \
    X(IDC_EXTRACT_FROM_SLIDER, 10158)                                         \
    X(IDC_EXTRACT_TO_SLIDER, 10160)                                           \
    X(IDC_EXTRACT_FROM_MSEC, 10231)                                           \
    X(IDC_EXTRACT_FROM_TIME, 10232)                                           \
    X(IDC_EXTRACT_FROM_SPIN, 10233)                                           \
    X(IDC_EXTRACT_TO_MSEC, 10234)                                             \
    X(IDC_EXTRACT_TO_TIME, 10236)                                             \
    X(IDC_EXTRACT_TO_SPIN, 10237)                                             \
    /* File Converter (dialog 151) */                                         \
    X(IDC_CONVERT_COUNT, 10420)                                               \
    X(IDC_CONVERT_FILE, 10421)                                                \
    X(IDC_CONVERT_FILE_PROGRESS, 10422)                                       \
    X(IDC_CONVERT_ALL_PROGRESS, 10423)                                        \
    X(IDC_CONVERT_RESTART, 10424)                                             \
    X(IDC_CONVERT_STOP, 10425)                                                \
    X(IDC_CONVERT_CANCEL, 10426)                                              \
    /* Data store compression dialog */                                       \
    X(IDC_COMPRESS_ERROR_LOG, 10257)                                          \
    X(IDC_COMPRESS_STATUS1, 10258)                                            \
    X(IDC_COMPRESS_STATUS2, 10259)                                            \
    /* Compressor dialog (143) */                                             \
    X(IDC_COMPRESSOR_TEXT, 10380)                                             \
    X(IDC_COMPRESSOR_FILE_PROGRESS, 10381)                                    \
    X(IDC_COMPRESSOR_TOTAL_PROGRESS, 10382)                                   \
    X(IDC_COMPRESSOR_STOP, 10383)                                             \
    X(IDC_COMPRESSOR_RESTART, 10384)                                          \
    /* Export options dialog (152) */                                         \
    X(IDC_EXPORT_LOCK, 10385)                                                 \
    X(IDC_EXPORT_CONVERT, 10386)                                              \
    X(IDC_EXPORT_COMPRESS, 10387)                                             \
    /* Sounds (WAVE) and pictures */                                          \
    X(IDR_WAVE_TONE, 3001)                                                    \
    X(IDR_WAVE_RING, 3003)                                                    \
    X(IDR_GIF_NO_PICTURE, 3005)                                               \
    /* Bitmaps */                                                             \
    X(IDB_SPLASH, 4009)

#define NAVO_RESOURCE_ENUM(name, number) name = number,
enum ResourceId : int { NAVO_RESOURCE_IDS(NAVO_RESOURCE_ENUM) };
#undef NAVO_RESOURCE_ENUM

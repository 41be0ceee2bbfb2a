// The simple mail interface: MAPISendMail's message and attachment records
// and result codes, with the desktop's mail composer behind them.
//
// FindMAPISendMail stands in for loading "mapi32.dll" and finding
// "MAPISendMail": it answers nullptr when the desktop has no composer to
// call ("xdg-email" is not on PATH). The call itself runs
//     xdg-email --utf8 --subject S --body B --attach F1 --attach F2 ...
// with the Windows-1252 subject and body given as UTF-8, and waits for it,
// as MAPI_DIALOG waits for the composer. The desktop's composer reads the
// attachments when the message is sent, which can be long after the call,
// so each file is handed over as a copy in its own folder under
// "$XDG_CACHE_HOME/navo/outbox" (~/.cache when unset); folders there older
// than a week are removed at the next call.
//
// xdg-email's exit status becomes the MAPI code: 0 SUCCESS_SUCCESS, 2 (a
// file is missing) MAPI_E_ATTACHMENT_NOT_FOUND, 5 (a file cannot be read)
// MAPI_E_ATTACHMENT_OPEN_FAILURE, 130 (the composer was broken off by the
// user, the shell's status for an interrupt) MAPI_USER_ABORT, anything else
// (1 a composer that does not know --attach, 3 no composer, 4 it failed)
// MAPI_E_FAILURE. A missing or unreadable attachment is found while it is
// copied, before xdg-email runs, with the same two codes.
#pragma once

#include "platform/WinTypes.h"

using ULONG = std::uint32_t;

struct MapiFileDesc {
    ULONG ulReserved = 0;
    ULONG flFlags = 0;
    ULONG nPosition = 0;
    const char* lpszPathName = nullptr;
    const char* lpszFileName = nullptr;
    void* lpFileType = nullptr;
};

struct MapiMessage {
    ULONG ulReserved = 0;
    const char* lpszSubject = nullptr;
    const char* lpszNoteText = nullptr;
    const char* lpszMessageType = nullptr;
    const char* lpszDateReceived = nullptr;
    const char* lpszConversationID = nullptr;
    ULONG flFlags = 0;
    void* lpOriginator = nullptr;
    ULONG nRecipCount = 0;
    void* lpRecips = nullptr;
    ULONG nFileCount = 0;
    MapiFileDesc* lpFiles = nullptr;
};

inline constexpr ULONG SUCCESS_SUCCESS = 0;
inline constexpr ULONG MAPI_USER_ABORT = 1;
inline constexpr ULONG MAPI_E_FAILURE = 2;
inline constexpr ULONG MAPI_E_INSUFFICIENT_MEMORY = 5;
inline constexpr ULONG MAPI_E_ATTACHMENT_NOT_FOUND = 11;
inline constexpr ULONG MAPI_E_ATTACHMENT_OPEN_FAILURE = 12;
inline constexpr ULONG MAPI_DIALOG = 0x8;

using LPMAPISENDMAIL = ULONG (*)(ULONG session, ULONG uiParam, MapiMessage* message, ULONG flags, ULONG reserved);

// nullptr when the desktop has no mail composer.
LPMAPISENDMAIL FindMAPISendMail();

// The exit status of xdg-email as a MAPI code (see above).
ULONG mapiCodeOfComposerStatus(int exitStatus);

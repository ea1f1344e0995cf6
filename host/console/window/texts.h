#pragma once

#include <initializer_list>
#include <string>

#include "host/console/console_state.h"

namespace host::console {

// What the window says. Each text is the key of its translations in the language files; "&" stands
// before the letter that Alt goes with, and {0}, {1} for what Fill puts there.
namespace texts {

inline constexpr const wchar_t* kTitle = L"Remote access to this computer";

inline constexpr const wchar_t* kConnected = L"An administrator is connected";
inline constexpr const wchar_t* kSince = L"Connected since {0}";
inline constexpr const wchar_t* kSeveralSince = L"Open sessions: {0}. The first one began: {1}";
inline constexpr const wchar_t* kOpenSessions = L"Open sessions: {0}";
inline constexpr const wchar_t* kNobody = L"Nobody is connected";
inline constexpr const wchar_t* kNobodyDetails =
    L"A notice tells you when an administrator connects.";
inline constexpr const wchar_t* kNoService = L"The agent's service is not running";
inline constexpr const wchar_t* kNoServiceDetails = L"Until it runs again nobody can connect.";
inline constexpr const wchar_t* kEnded = L"A remote session has ended";

inline constexpr const wchar_t* kSessions = L"Open &sessions";
inline constexpr const wchar_t* kNoSessions = L"No session is open.";
inline constexpr const wchar_t* kHistory = L"&History";
inline constexpr const wchar_t* kNoHistory = L"Nothing has happened yet.";
inline constexpr const wchar_t* kLanguage = L"&Language:";
inline constexpr const wchar_t* kAbout = L"A&bout";

inline constexpr const wchar_t* kName = L"Name";
inline constexpr const wchar_t* kDescription = L"Description";
inline constexpr const wchar_t* kTime = L"Time";
inline constexpr const wchar_t* kEvent = L"Event";
inline constexpr const wchar_t* kDetails = L"Details";

inline constexpr const wchar_t* kOpen = L"&Open";
inline constexpr const wchar_t* kQuit = L"&Quit";
inline constexpr const wchar_t* kCopy = L"&Copy\tCtrl+C";
inline constexpr const wchar_t* kSelectAll = L"Select &all\tCtrl+A";
inline constexpr const wchar_t* kRefresh = L"&Refresh\tF5";

inline constexpr const wchar_t* kAboutTitle = L"About";
inline constexpr const wchar_t* kPurpose =
    L"This program shows who is connected to this computer, and what happened before.";
inline constexpr const wchar_t* kVersion = L"Version {0}";

// All of them, for checks of the language files.
inline constexpr const wchar_t* kAll[] = {kTitle,         kConnected,    kSince,
                                          kSeveralSince,  kOpenSessions, kNobody,
                                          kNobodyDetails, kNoService,    kNoServiceDetails,
                                          kEnded,         kSessions,     kNoSessions,
                                          kHistory,       kNoHistory,    kLanguage,
                                          kAbout,         kName,         kDescription,
                                          kTime,          kEvent,        kDetails,
                                          kOpen,          kQuit,         kCopy,
                                          kSelectAll,     kRefresh,      kAboutTitle,
                                          kPurpose,       kVersion};

// Those whose letters work at the same time.
inline constexpr const wchar_t* kLabels[] = {kSessions, kHistory, kLanguage, kAbout};
inline constexpr const wchar_t* kTrayMenu[] = {kOpen, kQuit};
inline constexpr const wchar_t* kListMenu[] = {kCopy, kSelectAll, kRefresh};

}  // namespace texts

// Puts the values in the places {0}, {1}... of the text. Any thread.
std::wstring Fill(const std::wstring& text, std::initializer_list<std::wstring> values);

// Any thread.
std::wstring FillTranslated(IConsoleState& state, const wchar_t* english,
                            std::initializer_list<std::wstring> values);

}  // namespace host::console

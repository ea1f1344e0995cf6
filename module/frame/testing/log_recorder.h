#pragma once

// A program that logs through the recorder may export this one to hear of each call.
using RecordedFunction = void (*)(const wchar_t* call);
inline constexpr const char* kRecordedFunctionName = "RecordedByLog";

#pragma once

#include <cstdint>
#include <string>

#include "module/frame/log.h"

// What the host program tells: the person who started it, on the standard streams, and the log.
namespace host {

// `code` and what the system says about it: "126 (Module not found)".
std::wstring DescribeCode(uint32_t code);

// "file.xml(12): what happened: 5 (Access denied)". A line of 0 is left out.
std::wstring DescribeProblem(const std::wstring& file, int line, const std::wstring& what,
                             uint32_t code);

// One line on the standard error stream and, as an error, in the log.
void ReportError(const std::wstring& text);

// One line on the standard output stream and, as a notice, in the log.
void ReportProgress(const std::wstring& text);

}  // namespace host

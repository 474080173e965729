#pragma once
/// How the program's own steps fail: one sentence for the user.

#include "dstl/WinAPI/Platform.h"
#include <stdexcept>
#include <string>
#include <string_view>

/// Text of the system (UTF-16) as UTF-8, and back. What is no valid text becomes the replacement character.
std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

/// A step that failed. what() is the whole sentence in UTF-8, without a line end.
class Failure : public std::runtime_error
{
public:
    /// A failure that the program itself found.
    explicit Failure(const std::string& what) : std::runtime_error(what) {}
    /// A failure with a result code, whose name and text are added to the sentence.
    Failure(const std::string& what, HRESULT hr);
};

/// Throws a Failure if `hr` is a failure code; `what` says what could not be done.
void Check(HRESULT hr, const char* what);

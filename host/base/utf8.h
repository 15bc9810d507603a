// Whether text is UTF-8 (RFC 3629: no overlong forms, no surrogates, nothing beyond U+10FFFF).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Length of the sequence at the start of `text`, 1 to 4; 0 when it is none. Text must not be empty.
size_t Utf8Length(std::string_view text);

bool IsUtf8(std::string_view text);

// The text with U+FFFD in place of every byte that belongs to no sequence.
std::string MendUtf8(std::string_view text);

#pragma once

#include <string>

/// Without white space at both ends, and with one blank for any other.
std::string Collapse(const std::string& text);

/// With a blank for DEL and for the control characters U+0080 to U+009F, which XML allows and a
/// manifest does not.
std::string WithoutControlCharacters(const std::string& text);

/// How far a language such as "en-US" is from the wanted one; less is better. After the wanted one
/// and its variants come English, no language at all, and the others.
int LanguageDistance(const std::string& language, const std::string& wanted);

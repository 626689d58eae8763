#include "Quoted.h"

#include <NxBase/PrintableText.h>

namespace NxGenICamLib {

std::string Quoted(std::string_view text) {
    static constexpr std::size_t kLongest = 60;
    return '"' + PrintableText(text, kLongest) + '"';
}

}  // namespace NxGenICamLib

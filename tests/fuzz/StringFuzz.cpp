// Any bytes without a zero survive narrow → wide → narrow.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include <NxBase/NxString.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    const NxString narrow(text.c_str());
    const NxString wide(narrow.GetUnicode());
    if (std::string(wide.GetAscii()) != text.c_str() || !(wide == narrow)) {
        std::abort();
    }
    return 0;
}

// The zip reader's operations on temporary files.
#include <cstdio>
#include <cstdlib>

#include "ZipFwFileReader.h"

NyString ZipFwFileReader::CreateTempFile(const NyString& aTag) const {
    char path[256] = {};
    (void)std::snprintf(path, sizeof path, "/tmp/%s-XXXXXX", aTag.GetAscii());
    // Neither checked nor closed on purpose: the descriptor stays open until the process ends.
    [[maybe_unused]] const int descriptor = mkstemp(path);
    return NyString(path);
}

void ZipFwFileReader::DeleteTempFile(const NyString& aPath) const {
    (void)std::remove(aPath.GetAscii());
}

// Any bytes as a package: members are found and extracted, or not, and nothing breaks.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include <ZipFwFileReader.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);
extern "C" int __real_mkstemp(char* path);
extern "C" int __wrap_mkstemp(char* path);

namespace {

struct Made {
    std::string path;
    int descriptor;
};

std::vector<Made> sMade;

}  // namespace

// The reader leaves descriptors open, and files of failed extractions behind; a fuzz run would
// drown in them.
int __wrap_mkstemp(char* path) {
    const int descriptor = __real_mkstemp(path);
    sMade.push_back({path, descriptor});
    return descriptor;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const int archive = memfd_create("package", MFD_CLOEXEC);
    if (archive < 0 || write(archive, bytes, size) != static_cast<ssize_t>(size)) {
        std::abort();
    }
    {
        ZipFwFileReader reader("", "/proc/self/fd/" + std::to_string(archive));
        // The empty name finds the first member, whatever it is called.
        for (const char* const name : {"", "Manifest.xml", ".dfw"}) {
            const std::string path = reader.ExtractFile(name);
            if (!path.empty() && access(path.c_str(), R_OK) != 0) {
                std::abort();
            }
        }
    }
    for (const Made& made : sMade) {
        (void)close(made.descriptor);
        (void)unlink(made.path.c_str());
    }
    sMade.clear();
    (void)close(archive);
    return 0;
}

// Sends one file with this project's TFTP client and does nothing else, as other clients do:
//   bench-tftp-upload ADDRESS FILE REMOTE_NAME BLOCK_SIZE WINDOW_SIZE
// Exit status: 0 sent, 2 not. Linked with what the client needs, so that it starts as fast as they
// do.

#include <cstdio>
#include <cstdlib>

#include "tftp/TftpClient.h"

int main(int argc, char** argv) {
    if (argc != 6) {
        std::fprintf(stderr, "Usage: %s ADDRESS FILE REMOTE_NAME BLOCK_SIZE WINDOW_SIZE\n",
                     argv[0]);
        return 2;
    }
    const auto number = [](const char* text) {
        return static_cast<unsigned int>(std::strtoul(text, nullptr, 10));
    };
    TftpClient client({.blockSize = number(argv[4]), .windowSize = number(argv[5])});
    NxResult result = client.Init(argv[1], argv[3]);
    if (result.IsOK()) {
        result = client.SendFile(argv[2]);
    }
    if (!result.IsOK()) {
        std::fprintf(stderr, "%s\n", result.GetDescription().GetAscii());
        return 2;
    }
    return 0;
}

#include "TftpFiles.h"

namespace simulator {

TftpSink::~TftpSink() = default;
TftpSource::~TftpSource() = default;
TftpFiles::~TftpFiles() = default;

}  // namespace simulator

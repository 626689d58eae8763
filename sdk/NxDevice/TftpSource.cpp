#include <NxDevice/TftpSource.h>

TftpSource::~TftpSource() = default;

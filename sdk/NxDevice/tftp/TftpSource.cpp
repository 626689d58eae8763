#include "TftpSource.h"

TftpSource::~TftpSource() = default;

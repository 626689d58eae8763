#include <NxGenICam/GenPort.h>

GenPort::~GenPort() = default;

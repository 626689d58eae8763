#include <internal/NxGenICam/GenPort.h>

GenPort::~GenPort() = default;

void GenPort::NoteNoFileAccess(const std::string& /*reason*/) {}

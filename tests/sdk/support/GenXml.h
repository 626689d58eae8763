#pragma once

#include <string>

/// Hand-written GenICam descriptions.
namespace GenXml {

/// A whole description around nodes; it has the port "Device".
std::string Description(const std::string& nodes, int schemaMajor = 1, int schemaMinor = 1);
/// A four-byte big-endian IntReg; `more` goes into it, e.g. "<pIndex …>".
std::string Register(const std::string& name, unsigned int address,
                     const std::string& accessMode = "RW", const std::string& more = "");
/// A read-only StringReg; `length` in bytes.
std::string StringRegister(const std::string& name, unsigned int address,
                           const std::string& length);
std::string Integer(const std::string& name, const std::string& more);
std::string Enumeration(const std::string& name, const std::string& entriesAndMore);
std::string Entry(const std::string& name, int value, const std::string& more = "");

}  // namespace GenXml

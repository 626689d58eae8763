#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include <arv.h>

#include <NxBase/NxResult.h>

#include "DescriptionCheck.h"
#include "GenDevice.h"

/// Refuses registers that a device says are of absurd length: Aravis allocates as many bytes as a
/// register is said to have, and ends the program when it cannot.
class LengthGuard {
  public:
    /// Both must outlive it.
    LengthGuard(ArvGc* genicam, GenDevice& device, const DescriptionFacts& facts);

    /// Asks the device for the length of every register of variable length that an access to that
    /// node may read; asks nothing of most descriptions. Until the next call Aravis gets the same
    /// answers: a device must not get past with a length that it gives only when asked again.
    /// @return kNxBadDescription when one has more than 16 MiB
    NxResult Check(const std::string& node);
    /// The same for the register, of any kind, that a text comes from in the end; 1 MiB is the
    /// most.
    NxResult CheckText(ArvGcFeatureNode* node);

  private:
    NxResult CheckRegisters(const std::vector<std::string>& names);
    const std::vector<std::string>& ListRegistersReadBy(const std::string& node);
    ArvGcRegister* FindRegister(const std::string& name);

    ArvGc* mGenicam;
    GenDevice& mDevice;
    std::map<std::string, std::set<std::string>> mVariableLengths;  ///< as in DescriptionFacts
    NodeGraph mLinks;  ///< as in DescriptionFacts; empty when no length is variable
    /// By the name of a node: the registers of variable length that an access to it may read.
    std::map<std::string, std::vector<std::string>> mReadBy;
};

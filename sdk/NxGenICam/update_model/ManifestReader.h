#pragma once

#include <NxGenICam/IGenFUModelBuilder.h>

#include "ManifestElement.h"

namespace NxGenICamLib {

/// Checks what the schema cannot: that each pattern of a valid manifest is a regular expression.
NyUtilsLib::Result CheckPatterns(const ManifestElement& element);

/// Makes the calls that build the model of a valid manifest, in its order, until one is refused.
NyUtilsLib::Result BuildModel(const ManifestElement& element, IGenFUModelBuilder& builder);

}  // namespace NxGenICamLib

#include <NxGenICam/IGenFUModel.h>
#include <NxGenICam/IGenFUModelBuilder.h>
#include <NxGenICam/IGenFUUpdater.h>

namespace NxGenICamLib {

IGenFUModel::~IGenFUModel() = default;
IGenFUModelBuilder::~IGenFUModelBuilder() = default;
IGenFUUpdater::~IGenFUUpdater() = default;

}  // namespace NxGenICamLib

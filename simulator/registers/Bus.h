#pragma once

namespace simulator {

/// What a device is reached by: it decides the byte order and which features of the bus it has.
enum class Bus { kGigEVision, kUsb3Vision };

}  // namespace simulator

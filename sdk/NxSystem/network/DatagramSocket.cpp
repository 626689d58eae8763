#include <internal/NxSystem/DatagramSocket.h>

DatagramSocket::~DatagramSocket() = default;

DatagramSocket::Clock::time_point DatagramSocket::Now() const {
    return Clock::now();
}

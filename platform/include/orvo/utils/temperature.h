// The camera's temperature, read from the sensor next to the video chip.
// Only boards whose video chip identifies as the expected model have the
// sensor; the simulator has neither device, so it reports none.
#pragma once

#include <cstdint>

namespace orvo {
namespace utils {

// Device paths (mapped through devicePath, so a test can never reach the
// real devices; an ioctl on a regular file fails, as on a board without them).
constexpr char kVideoChipDevice[] = "/dev/iav";
constexpr char kSensorBusDevice[] = "/dev/i2c-0";
// Video chip query: request number, result size, and the model answer read
// from the second 32-bit word of the result.
constexpr unsigned long kChipInfoRequest = 0x80087313ul;
constexpr unsigned kChipInfoBytes = 92;
constexpr uint32_t kSensorChipModel = 0x100A;
// The sensor on the I2C bus.
constexpr uint16_t kSensorAddress = 0x36;
// The sensor reports degrees Celsius plus this offset.
constexpr int kSensorOffset = 64;

enum class TemperatureRead {
  kNoSensor,  // no video chip device, or not the expected model
  kFailed,    // the chip says the sensor exists, but reading it failed
  kRead,
};

// Degrees Celsius for a raw sensor byte.
int temperatureFromSensorByte(uint8_t raw);

// Asks the video chip for its model and, on the expected one, reads the
// sensor. `celsius` is set only with kRead.
TemperatureRead readTemperature(int* celsius);

}  // namespace utils
}  // namespace orvo

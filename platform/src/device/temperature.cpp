#include "orvo/utils/temperature.h"

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstring>

#include "orvo/utils/paths.h"

namespace orvo {
namespace utils {

namespace {

// The sensor register sequence: select the temperature register, then
// point at its value, then read one byte.
constexpr uint8_t kSelectRegister[] = {0x4D, 0x12, 0x01};
constexpr uint8_t kPointAtValue[] = {0x4D, 0x13};

bool chipIsSensorModel() {
  int fd = open(devicePath(kVideoChipDevice).c_str(), O_RDWR | O_CLOEXEC);
  if (fd < 0) return false;
  uint32_t info[kChipInfoBytes / sizeof(uint32_t)];
  std::memset(info, 0, sizeof info);
  int result = ioctl(fd, kChipInfoRequest, info);
  close(fd);
  return result >= 0 && info[1] == kSensorChipModel;
}

bool readSensorByte(uint8_t* raw) {
  int fd = open(devicePath(kSensorBusDevice).c_str(), O_RDWR | O_CLOEXEC);
  if (fd < 0) return false;
  uint8_t selectRegister[sizeof kSelectRegister];
  uint8_t pointAtValue[sizeof kPointAtValue];
  std::memcpy(selectRegister, kSelectRegister, sizeof selectRegister);
  std::memcpy(pointAtValue, kPointAtValue, sizeof pointAtValue);
  i2c_msg messages[3] = {
      {kSensorAddress, 0, sizeof selectRegister, selectRegister},
      {kSensorAddress, 0, sizeof pointAtValue, pointAtValue},
      {kSensorAddress, I2C_M_RD, 1, raw},
  };
  i2c_rdwr_ioctl_data transfer = {messages, 3};
  int result = ioctl(fd, I2C_RDWR, &transfer);
  close(fd);
  return result >= 0;
}

}  // namespace

int temperatureFromSensorByte(uint8_t raw) { return static_cast<int>(raw) - kSensorOffset; }

TemperatureRead readTemperature(int* celsius) {
  if (!chipIsSensorModel()) return TemperatureRead::kNoSensor;
  uint8_t raw = 0;
  if (!readSensorByte(&raw)) return TemperatureRead::kFailed;
  if (celsius) *celsius = temperatureFromSensorByte(raw);
  return TemperatureRead::kRead;
}

}  // namespace utils
}  // namespace orvo

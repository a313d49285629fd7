// The header fields every bus message carries, and the request header.
// Concrete messages (messages/) derive from BaseRequestMessage and declare
// their own fields in tables; normalisation runs the concrete fields first,
// then these, then the container's.
#pragma once

#include <sys/time.h>

#include <string>

#include "orvo/variant/variant.h"

namespace orvo {
namespace ipc {
namespace messages {

class BaseMessage : public orvo::variant::BaseVariantContainer {
 public:
  BaseMessage() = default;
  BaseMessage(orvo::variant::Variant const& other) : BaseVariantContainer(other) {}  // NOLINT
  ~BaseMessage() override = default;

  bool NormalizeFields() override;

  // The message id; generated and stored when absent or not a number:
  // low 48 bits monotonic nanoseconds, high 16 bits the process id.
  unsigned long id();
  timeval timeStamp();
  std::string from();
  std::string to();
  std::string functionName();
  bool queueIfDestUnavailable();
};

class BaseRequestMessage : public BaseMessage {
 public:
  BaseRequestMessage() = default;
  BaseRequestMessage(orvo::variant::Variant const& other) : BaseMessage(other) {}  // NOLINT
  ~BaseRequestMessage() override = default;

  bool NormalizeFields() override;

  bool responseExpected();
  long transactionId();
  bool isBroadcast();
};

// A daemon's answer as the bus hands it to a response callback.
class BaseResponseMessage : public BaseMessage {
 public:
  BaseResponseMessage() = default;
  BaseResponseMessage(orvo::variant::Variant const& other) : BaseMessage(other) {}  // NOLINT
  ~BaseResponseMessage() override = default;
};

}  // namespace messages
}  // namespace ipc
}  // namespace orvo

// Header fields of every bus message and of every request.
#include <time.h>
#include <unistd.h>

#include <cstdint>

#include "orvo/ipc/messages/base.h"
#include "orvo/ipc/messages/fields.h"
#include "orvo/utils/clock.h"

namespace orvo {
namespace ipc {
namespace messages {

using fields::FieldPass;
using orvo::variant::Variant;
using orvo::variant::VariantType;

namespace {

constexpr uint64_t kIdTimeMask = 0xFFFFFFFFFFFFull;  // low 48 bits: monotonic ns
constexpr unsigned kIdPidShift = 48;                  // high 16 bits: process id
constexpr uint64_t kNanosPerSecond = 1000000000ull;

// Unique across the processes of one camera without any shared state.
unsigned long generatedId() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  uint64_t const t = static_cast<uint64_t>(ts.tv_sec) * kNanosPerSecond +
                     static_cast<uint64_t>(ts.tv_nsec);
  uint64_t const pid = static_cast<uint64_t>(getpid());
  return static_cast<unsigned long>((t & kIdTimeMask) | (pid << kIdPidShift));
}

}  // namespace

unsigned long BaseMessage::id() {
  fields::ensureContainer(*this);
  Variant* member = GetKeyChain(orvo::variant::VT_ANY, "id", false);
  if (member != nullptr && fields::isNumber(static_cast<VariantType>(*member))) {
    return static_cast<unsigned long>(*member);
  }
  unsigned long const id = generatedId();
  (*this)["id"] = id;
  return id;
}

timeval BaseMessage::timeStamp() {
  fields::ensureContainer(*this);
  Variant* member = GetKeyChain(orvo::variant::VT_ANY, "timeStamp", false);
  if (member != nullptr && fields::isTime(static_cast<VariantType>(*member))) {
    return static_cast<timeval const&>(*member);
  }
  return fields::timeField(*this, "timeStamp", orvo::utils::now());
}

std::string BaseMessage::from() { return fields::stringField(*this, "from", ""); }
std::string BaseMessage::to() { return fields::stringField(*this, "to", ""); }
std::string BaseMessage::functionName() { return fields::stringField(*this, "functionName", ""); }
bool BaseMessage::queueIfDestUnavailable() {
  return fields::boolField(*this, "queueIfDestUnavailable", true);
}

bool BaseMessage::NormalizeFields() {
  id();
  timeStamp();
  from();
  to();
  functionName();
  queueIfDestUnavailable();
  return BaseVariantContainer::NormalizeFields();
}

bool BaseRequestMessage::responseExpected() {
  return fields::boolField(*this, "responseExpected", false);
}
long BaseRequestMessage::transactionId() {
  return fields::numberField<long>(*this, "transactionId", -1, fields::noRange, FieldPass::Read);
}
bool BaseRequestMessage::isBroadcast() { return fields::boolField(*this, "isBroadcast", false); }

bool BaseRequestMessage::NormalizeFields() {
  responseExpected();
  fields::numberField<long>(*this, "transactionId", -1, fields::noRange, FieldPass::Normalize);
  isBroadcast();
  return BaseMessage::NormalizeFields();
}

}  // namespace messages
}  // namespace ipc
}  // namespace orvo

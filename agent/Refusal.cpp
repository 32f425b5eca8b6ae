#include "agent/Refusal.h"

#include "Kob/GenericIfException.h"

namespace Agent {

std::string wordsOf(const std::exception& exception) {
  const auto* const refusal = dynamic_cast<const Kob::GenericIfException*>(&exception);
  return refusal != nullptr ? std::string(refusal->explanation().view()) : exception.what();
}

}  // namespace Agent

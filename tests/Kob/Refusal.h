#pragma once

// How a test reads what a generic interface refuses with.

#include <string>
#include <typeinfo>

#include "Kob/GenericIfException.h"
#include "Kob/TypeName.h"

namespace KobTest {

/// The refusal that the call throws, as "TypeException: kob_index"; "none" when it throws none.
/// Other exceptions pass.
template <class Call>
std::string refusalOf(const Call& call) {
  try {
    static_cast<void>(call());
  } catch (const Kob::GenericIfException& refusal) {
    std::string text = Kob::typeName(typeid(refusal)) + ": " + refusal.message().charPtr();
    text.erase(0, std::string("Kob::").size());
    const auto* const operation =
        dynamic_cast<const Kob::OperationNotSupportedException*>(&refusal);
    if (operation != nullptr) text += " " + std::to_string(operation->operation());
    return text;
  }
  return "none";
}

}  // namespace KobTest

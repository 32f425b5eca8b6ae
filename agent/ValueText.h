#pragma once

// Values of live objects as an operator writes them, and as the shell shows them.

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "Kob/GenericIf.h"
#include "Kob/Type.h"
#include "agent/LiveAttribute.h"

namespace Agent {

/// The value of an attribute from its text. What has a text form is parsed by its type, after its
/// quotation marks are taken away; a set or an object is given by the path to one; a set in
/// parentheses is made by its constructor from what they hold; an entry of a collection that makes
/// its own is given by the arguments for making it, but for the key. Throws CommandError.
[[nodiscard]] Kob::Ptr<Kob::GenericIf> valueFrom(std::string_view text, const Kob::KobAttr& attr,
                                                 const Roots& roots);

/// The list of the arguments, which stand between parentheses and are parted by commas. Those
/// beyond the parameters are taken as names. Throws CommandError.
[[nodiscard]] Kob::Ptr<Kob::GenericIf> argumentsFrom(
    std::string_view text, const std::vector<Kob::KobAttr::Parameter>& parameters,
    const Roots& roots);

/// On one line: a value's text ("" for the empty one), the entries of a set in braces, the type of
/// an object, "null".
[[nodiscard]] std::string briefText(const Kob::Ptr<const Kob::GenericIf>& value);
[[nodiscard]] nlohmann::ordered_json briefJson(const Kob::Ptr<const Kob::GenericIf>& value);

/// As brief ones; of an object also its attributes, one on each line, and how many entries each of
/// its collections has. Functions are left out.
[[nodiscard]] std::string wholeText(const Kob::Ptr<Kob::GenericIf>& value);
[[nodiscard]] nlohmann::ordered_json wholeJson(const Kob::Ptr<Kob::GenericIf>& value);

}  // namespace Agent

// Finds every fault that keeps a JSON value from being read as a record; reading stops at the
// first.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "tarnwell/json/json_decode.h"

namespace tarnwell {

struct JSONFault {
  std::string path;    // such as "tasks[2].plannedDay.year"
  std::string reason;  // a clause that follows it, such as "must be a whole number"

  friend bool operator==(const JSONFault&, const JSONFault&) = default;
};

using JSONFaults = std::vector<JSONFault>;

// Returns the requirement for a value of the type.
template <class T>
std::string expectationOf() {
  if constexpr (std::is_same_v<T, bool>) {
    return "must be true or false";
  } else if constexpr (std::is_same_v<T, std::int64_t>) {
    return "must be a whole number of 64 bits";
  } else if constexpr (std::is_same_v<T, double> || std::is_same_v<T, Instant>) {
    return "must be a number";
  } else if constexpr (std::is_same_v<T, std::string>) {
    return "must be a text";
  } else if constexpr (std::is_same_v<T, UUID>) {
    return "must be an identifier of 36 characters";
  } else if constexpr (isVector<T>) {
    return "must be a list";
  } else if constexpr (Record<T>) {
    return "must be an object";
  } else {
    static_assert(TextEnum<T>);
    std::string values;
    for (const std::string_view text : texts(T{})) {
      values += (values.empty() ? "\"" : ", \"") + std::string(text) + "\"";
    }
    return "must be one of " + values;
  }
}

template <class T>
void findFaults(JSONElement element, const std::string& path, JSONFaults& faults);

template <class Owner, class Member>
void findFaultsOfMember(ObjectReader& members, const Field<Owner, Member>& field,
                        const std::string& path, JSONFaults& faults) {
  const std::string place = (path.empty() ? "" : path + ".") + std::string(field.key);
  const auto element = members.find(field.key);
  const bool isAbsent = !element || element->isNull();
  if (isAbsent && (isOptional<Member> || field.isDefaulted)) return;
  if (!element) {
    faults.push_back({place, "is missing"});
  } else if constexpr (isOptional<Member>) {
    findFaults<typename Member::value_type>(*element, place, faults);
  } else {
    findFaults<Member>(*element, place, faults);
  }
}

// Appends the faults of the listed members of the object at `path`, in their order.
template <class Owner, class... Members>
void findFaultsOfMembers(ObjectReader members, const std::tuple<Field<Owner, Members>...>& fields,
                         const std::string& path, JSONFaults& faults) {
  std::apply([&](const auto&... field) { (findFaultsOfMember(members, field, path, faults), ...); },
             fields);
}

// Appends the faults of the value at `path`; none exactly when `decode` reads it.
template <class T>
void findFaults(JSONElement element, const std::string& path, JSONFaults& faults) {
  if constexpr (isRequired<T>) {
    findFaults<typename T::value_type>(element, path, faults);
  } else {
    try {
      if constexpr (Record<T>) {
        findFaultsOfMembers(ObjectReader(element, path), T::fields(), path, faults);
      } else if constexpr (isVector<T>) {
        ArrayReader items(element, path);
        for (std::size_t i = 0; const auto item = items.next(); ++i) {
          findFaults<typename T::value_type>(*item, path + "[" + std::to_string(i) + "]", faults);
        }
      } else {
        decode<T>(element, path);
      }
    } catch (const JSONError&) {
      faults.push_back({path, expectationOf<T>()});
    }
  }
}

}  // namespace tarnwell

// Encoding of records as JSON text by their field lists, with keys in ascending order.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <type_traits>
#include <variant>

#include "tarnwell/base/enum_texts.h"
#include "tarnwell/base/record.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/json/byte_sink.h"
#include "tarnwell/json/json_error.h"
#include "tarnwell/json/json_types.h"
#include "tarnwell/json/json_value.h"
#include "tarnwell/json/json_writer.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell {

enum class RecordForm {
  stored,  // instants as seconds since the reference date
  reply    // instants as ISO 8601 text, every number as a double
};

template <RecordForm form = RecordForm::stored, class T, class Member>
void encodeField(JSONWriter& writer, const T& record, const Field<T, Member>& field);

template <RecordForm form>
void encodeInstant(JSONWriter& writer, Instant instant) {
  if constexpr (form == RecordForm::stored) {
    writer.number(instant.seconds);
  } else {
    if (!std::isfinite(instant.seconds)) throw JSONError::notEncodable();
    writer.plainString(isoText(instant));
  }
}

// Writes a value; a map as an array of alternating keys and values. Throws JSONError for a number
// or instant that is not finite and text that is not valid UTF-8.
template <RecordForm form = RecordForm::stored, class T>
void encode(JSONWriter& writer, const T& value) {
  if constexpr (std::is_same_v<T, bool>) {
    writer.boolean(value);
  } else if constexpr (std::is_same_v<T, std::int64_t> && form == RecordForm::stored) {
    writer.integer(value);
  } else if constexpr (std::is_same_v<T, double> || std::is_same_v<T, std::int64_t>) {
    writer.number(static_cast<double>(value));
  } else if constexpr (std::is_same_v<T, std::string>) {
    writer.string(value);
  } else if constexpr (std::is_same_v<T, UUID>) {
    const auto characters = value.characters();
    writer.plainString({characters.data(), characters.size()});
  } else if constexpr (std::is_same_v<T, Instant>) {
    encodeInstant<form>(writer, value);
  } else if constexpr (std::is_same_v<T, JSONValue>) {
    std::visit([&](const auto& inner) { encode<form>(writer, inner); }, value.variant());
  } else if constexpr (std::is_same_v<T, JSONValue::Null>) {
    writer.null();
  } else if constexpr (std::is_same_v<T, JSONValue::Object>) {
    writer.beginObject();
    for (const auto& [key, member] : value) {
      writer.key(key);
      encode<form>(writer, member);
    }
    writer.endObject();
  } else if constexpr (std::is_same_v<T, JSONText>) {
    writer.written(value.text);
  } else if constexpr (isRequired<T>) {
    encode<form>(writer, *value);
  } else if constexpr (TextEnum<T>) {
    writer.plainString(textOf(value));
  } else if constexpr (isVector<T>) {
    writer.beginArray();
    for (const auto& item : value) encode<form>(writer, item);
    writer.endArray();
  } else if constexpr (isMap<T>) {
    writer.beginArray();
    for (const auto& [key, member] : value) {
      encode<form>(writer, key);
      encode<form>(writer, member);
    }
    writer.endArray();
  } else {
    static_assert(Record<T>);
    writer.beginObject();
    forEachFieldByKey<T>([&](const auto& field) { encodeField<form>(writer, value, field); });
    writer.endObject();
  }
}

// Writes a member under its key, unless it is absent.
template <RecordForm form, class T, class Member>
void encodeField(JSONWriter& writer, const T& record, const Field<T, Member>& field) {
  const Member& member = record.*field.member;
  if constexpr (isOptional<Member>) {
    if (!member) return;
    writer.plainKey(field.key);
    encode<form>(writer, *member);
  } else {
    writer.plainKey(field.key);
    encode<form>(writer, member);
  }
}

template <RecordForm form = RecordForm::stored, class T>
std::string encodeJSON(const T& value, JSONLayout layout) {
  JSONWriter writer(layout);
  encode<form>(writer, value);
  return writer.take();
}

// Hands the text of a large value to the sink in pieces.
template <class T>
void encodeJSON(const T& value, JSONLayout layout, const ByteSink& sink) {
  JSONWriter writer(layout, sink);
  encode(writer, value);
  writer.flush();
}

}  // namespace tarnwell

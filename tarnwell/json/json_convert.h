// Conversion of records into the values of a reply, by their field lists.
#pragma once

#include <string>

#include "tarnwell/json/json_document.h"
#include "tarnwell/json/json_encode.h"
#include "tarnwell/json/json_value.h"

namespace tarnwell {

// Converts instants to ISO 8601 text, every number to a double, and a map to an array of
// alternating keys and values. Throws JSONError for a number or instant that is not finite and for
// text that is not valid UTF-8.
template <class T>
JSONText replyText(const T& value) {
  return {encodeJSON<RecordForm::reply>(value, JSONLayout::compact)};
}

// Throws JSONError for malformed text.
inline JSONValue jsonValueFrom(const JSONText& text) {
  return jsonValueFrom(JSONDocument(text.text).root());
}

// Converts likewise.
template <class T>
JSONValue jsonValue(const T& value) {
  return jsonValueFrom(replyText(value));
}

}  // namespace tarnwell

#include "tarnwell/mcp/tool.h"

namespace tarnwell::mcp {

JSONValue describe(const Tool& tool) {
  const bool overwrites =
      tool.effect == ToolEffect::overwrites || tool.effect == ToolEffect::overwritesOnce;
  const bool isIdempotent =
      tool.effect == ToolEffect::reads || tool.effect == ToolEffect::overwritesOnce;
  return JSONValue::Object{
      {"name", std::string(tool.name)},
      {"title", std::string(tool.title)},
      {"description", std::string(tool.description)},
      {"inputSchema", inputSchema(tool.arguments)},
      {"outputSchema", tool.outputSchema()},
      {"annotations", JSONValue::Object{{"readOnlyHint", tool.effect == ToolEffect::reads},
                                        {"destructiveHint", overwrites},
                                        {"idempotentHint", isIdempotent},
                                        {"openWorldHint", false}}}};
}

}  // namespace tarnwell::mcp

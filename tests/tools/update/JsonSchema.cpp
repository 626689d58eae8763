#include "JsonSchema.h"

#include <algorithm>
#include <functional>
#include <map>

using nlohmann::json;

namespace {

bool HasType(const std::string& type, const json& value) {
    return (type == "object" && value.is_object()) || (type == "string" && value.is_string()) ||
           (type == "boolean" && value.is_boolean()) || (type == "number" && value.is_number()) ||
           (type == "integer" && value.is_number_integer());
}

std::string CheckRequired(const json& names, const json& value) {
    for (const json& name : names) {
        if (value.is_object() && !value.contains(name.get<std::string>())) {
            return "lacks " + name.dump();
        }
    }
    return "";
}

std::string CheckMembers(const json& schema, const json& value) {
    const json properties = schema.value("properties", json::object());
    const json members = value.is_object() ? value : json::object();
    for (const auto& [name, member] : members.items()) {
        std::string problem;
        if (properties.contains(name)) {
            problem = SchemaProblem(properties[name], member);
        } else if (schema.contains("additionalProperties")) {
            problem = SchemaProblem(schema["additionalProperties"], member);
        }
        if (!problem.empty()) {
            return name + " " + problem;
        }
    }
    return "";
}

std::string CheckOneOf(const json& schemas, const json& value) {
    std::string problems;
    int matches = 0;
    for (const json& schema : schemas) {
        const std::string problem = SchemaProblem(schema, value);
        matches += problem.empty() ? 1 : 0;
        problems += " (" + problem + ")";
    }
    return matches == 1 ? "" : "matches " + std::to_string(matches) + " of oneOf" + problems;
}

}  // namespace

std::string SchemaProblem(const json& schema, const json& value) {
    for (const auto& [keyword, argument] : schema.items()) {
        std::string problem;
        if (keyword == "type") {
            problem = HasType(argument, value) ? "" : "is not of type " + argument.dump();
        } else if (keyword == "const") {
            problem = value == argument ? "" : "is not " + argument.dump();
        } else if (keyword == "enum") {
            const bool isListed =
                std::find(argument.begin(), argument.end(), value) != argument.end();
            problem = isListed ? "" : "is none of " + argument.dump();
        } else if (keyword == "minimum") {
            problem = value >= argument ? "" : "is below " + argument.dump();
        } else if (keyword == "required") {
            problem = CheckRequired(argument, value);
        } else if (keyword == "properties" || keyword == "additionalProperties") {
            problem = CheckMembers(schema, value);
        } else if (keyword == "oneOf") {
            problem = CheckOneOf(argument, value);
        } else if (keyword != "$schema" && keyword != "title" && keyword != "description") {
            problem = "has a schema with an unknown keyword: " + keyword;
        }
        if (!problem.empty()) {
            return problem;
        }
    }
    return "";
}

#pragma once

#include <boost/json/value.hpp>
#include <string>
#include <vector>

// Checks a JSON document against a JSON Schema, for the keywords our schemas use: $ref (within the
// file), type, const, enum, properties, required, additionalProperties, items, pattern and oneOf.
// Other keywords are ignored, as a validator ignores annotations.
class JsonSchemaCheck {
  public:
    explicit JsonSchemaCheck(boost::json::value root) : root_(std::move(root)) {}

    // The problems found, each as "<path>: <what>"; empty when the document conforms.
    std::vector<std::string> Check(const boost::json::value& document,
                                   const boost::json::value& schema) const;
    std::vector<std::string> Check(const boost::json::value& document) const {
        return Check(document, root_);
    }

    const boost::json::value& Root() const { return root_; }

  private:
    void Walk(const boost::json::value& value, const boost::json::value& schema, const std::string& path,
              std::vector<std::string>& problems) const;
    const boost::json::value* Resolve(const std::string& ref) const;

    boost::json::value root_;
};

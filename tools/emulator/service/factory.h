#pragma once

#include <nlohmann/json.hpp>

#include <string>

// The factory records the emulator compares handsets with: one JSON file (data/factory.json beside the
// sources, or the file named by PELMOR_EMULATOR_FACTORY) holding per handset the values it left the
// factory with, plus tables of model, region and colour names, spare parts, firmware and AirPods.
namespace pelmor::emulator {

class Factory {
  public:
    using json = nlohmann::ordered_json;

    // The description keys every device's "original" object holds, as texts.
    static const char* const kOriginalKeys[];

    // Checks the shape; throws std::runtime_error naming the first problem.
    explicit Factory(json data);
    static Factory from_file(const std::string& path);

    // By chip id (hexadecimal, any case) first, then by serial; null when neither is on file.
    const json* device(const std::string& ecid, const std::string& serial) const;

    // Names from the tables; the code itself when it is not listed.
    std::string model_name(const std::string& product_type) const;
    std::string region_name(const std::string& region) const;
    std::string color_name(const std::string& hex) const;

    const json* part(const std::string& serial) const;     // a known spare part, or null
    json firmware(const std::string& product_type) const;  // array, empty when none is listed
    const json* airpods(const std::string& serial) const;
    double professional_price() const;

    const json& data() const { return data_; }

  private:
    static std::string lookup(const json& table, const std::string& key);
    json data_;
};

// The file the emulator reads: $PELMOR_EMULATOR_FACTORY if set, else the installed copy beside an
// installed binary (<prefix>/share/pelmor-emulator/factory.json), else the one beside the sources.
std::string factory_path();

// The records of factory_path(), read on first use. A file that cannot be read or has the wrong shape
// makes every device request refuse with FACTORY_DATA_ERROR (and is tried again on the next one).
const Factory& factory();

}  // namespace pelmor::emulator

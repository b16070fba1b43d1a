#include "emulator/service/factory.h"

#include "emulator/service/params.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <mutex>
#include <sstream>
#include <stdexcept>

#if defined(__linux__)
#include <unistd.h>
#elif defined(__APPLE__)
#include <mach-o/dyld.h>

#include <cstdint>
#endif

#ifndef PELMOR_EMULATOR_FACTORY_FILE
#define PELMOR_EMULATOR_FACTORY_FILE "data/factory.json"
#endif

namespace pelmor::emulator {

using json = nlohmann::ordered_json;

const char* const Factory::kOriginalKeys[] = {"mobType",
                                              "mod",
                                              "regn",
                                              "rmd",
                                              "meid",
                                              "srnm",
                                              "imei",
                                              "imei2",
                                              "mlb",
                                              "bmac",
                                              "emac",
                                              "wmac",
                                              "wifiId",
                                              "wifiProducer",
                                              "batt",
                                              "lcd",
                                              "lcm",
                                              "fcms",
                                              "bcms",
                                              "nsrn",
                                              "nvsn",
                                              "ram",
                                              "mobColour",
                                              "basebandChipId",
                                              "basebandCertId",
                                              "boardId",
                                              "hardwareModel",
                                              "hardDiskSerial",
                                              "hardDiskManufacture",
                                              nullptr};

namespace {

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

void require(bool condition, const std::string& problem) {
    if (!condition) throw std::runtime_error(problem);
}

bool is_text(const json& object, const char* key) {
    const auto it = object.find(key);
    return it != object.end() && it->is_string();
}

}  // namespace

Factory::Factory(json data) : data_(std::move(data)) {
    require(data_.is_object(), "not a JSON object");
    for (const char* table : {"models", "regions", "colors", "parts", "firmware", "airpods"})
        require(data_.contains(table) && data_[table].is_object(),
                std::string("\"") + table + "\" is not an object");
    require(data_.contains("professionalPrice") && data_["professionalPrice"].is_number(),
            "\"professionalPrice\" is not a number");
    require(data_.contains("devices") && data_["devices"].is_array(), "\"devices\" is not an array");
    for (const json& device : data_["devices"]) {
        const std::string at =
            "devices[" + (is_text(device, "ecid") ? device["ecid"].get<std::string>() : "?") + "]";
        require(device.is_object(), at + " is not an object");
        for (const char* key : {"ecid", "srnm", "productType", "productionDate"})
            require(is_text(device, key), at + "." + key + " is not a text");
        for (const char* key : {"original", "partDates", "colors", "screen", "warranty", "backup"})
            require(device.contains(key) && device[key].is_object(), at + "." + key + " is not an object");
        for (const char* const* key = kOriginalKeys; *key; ++key)
            require(is_text(device["original"], *key), at + ".original." + *key + " is not a text");
    }
}

Factory Factory::from_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error(path + ": cannot be read");
    std::stringstream text;
    text << in.rdbuf();
    json data = json::parse(text.str(), nullptr, false);
    if (data.is_discarded()) throw std::runtime_error(path + ": not JSON");
    try {
        return Factory(std::move(data));
    } catch (const std::exception& e) {
        throw std::runtime_error(path + ": " + e.what());
    }
}

const json* Factory::device(const std::string& ecid, const std::string& serial) const {
    const std::string wanted = upper(ecid);
    for (const json& d : data_["devices"])
        if (!wanted.empty() && upper(d["ecid"].get<std::string>()) == wanted) return &d;
    for (const json& d : data_["devices"])
        if (!serial.empty() && d["srnm"] == serial) return &d;
    return nullptr;
}

std::string Factory::lookup(const json& table, const std::string& key) {
    const auto it = table.find(key);
    return it != table.end() && it->is_string() ? it->get<std::string>() : key;
}

std::string Factory::model_name(const std::string& product_type) const {
    return lookup(data_["models"], product_type);
}

std::string Factory::region_name(const std::string& region) const {
    return lookup(data_["regions"], region);
}

std::string Factory::color_name(const std::string& hex) const {
    return lookup(data_["colors"], hex);
}

const json* Factory::part(const std::string& serial) const {
    const auto it = data_["parts"].find(serial);
    return it == data_["parts"].end() ? nullptr : &*it;
}

json Factory::firmware(const std::string& product_type) const {
    const auto it = data_["firmware"].find(product_type);
    return it != data_["firmware"].end() && it->is_array() ? *it : json::array();
}

const json* Factory::airpods(const std::string& serial) const {
    const auto it = data_["airpods"].find(serial);
    return it == data_["airpods"].end() ? nullptr : &*it;
}

double Factory::professional_price() const {
    return data_["professionalPrice"].get<double>();
}

namespace {

// An installed emulator keeps its data in <prefix>/share/pelmor-emulator beside <prefix>/bin.
std::string installed_factory_file() {
    char exe[4096] = {};
#if defined(__linux__)
    const ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
    if (n <= 0) return {};
    exe[n] = '\0';
#elif defined(__APPLE__)
    std::uint32_t size = sizeof exe;
    if (_NSGetExecutablePath(exe, &size) != 0) return {};
#else
    return {};
#endif
    std::string dir(exe);
    dir = dir.substr(0, dir.find_last_of('/'));
    return dir.substr(0, dir.find_last_of('/')) + "/share/pelmor-emulator/factory.json";
}

}  // namespace

std::string factory_path() {
    const char* env = std::getenv("PELMOR_EMULATOR_FACTORY");
    if (env && *env) return env;
    const std::string installed = installed_factory_file();
    if (!installed.empty() && std::ifstream(installed).good()) return installed;
    return PELMOR_EMULATOR_FACTORY_FILE;
}

const Factory& factory() {
    static std::mutex mutex;
    static std::unique_ptr<Factory> loaded;
    std::lock_guard<std::mutex> lock(mutex);
    if (!loaded) {
        try {
            loaded = std::make_unique<Factory>(Factory::from_file(factory_path()));
        } catch (const std::exception& e) {
            refuse_with(refusal::kFactoryData, "FACTORY_DATA_ERROR",
                        std::string("出厂数据不可用: ") + e.what());
        }
    }
    return *loaded;
}

}  // namespace pelmor::emulator

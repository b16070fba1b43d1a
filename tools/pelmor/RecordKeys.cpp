#include "RecordKeys.h"

#include <cstddef>

namespace pelmor {

namespace {

// Each table is in the order of its enum from 1; 0 and anything unknown is "unknown".
template <std::size_t N>
const char* Pick(const char* const (&names)[N], int value) {
    return value >= 1 && static_cast<std::size_t>(value) <= N ? names[value - 1] : "unknown";
}

}  // namespace

const char* VerifyItemKey(EDeviceVerifyKey key) {
    static const char* const names[] = {
        "mobName",  "mod",      "rmd",  "regn", "srnm", "mlb",   "wmac",      "bmac",     "emac",
        "wifiCode", "color",    "batt", "ram",  "fcms", "bcms",  "mainboard", "baseband", "imei",
        "hardDisk", "teardown", "lcm",  "nsrn", "nvsn", "iccid", "root",      "meid",
    };
    return Pick(names, key);
}

const char* VerifyClassName(EDeviceVerifyClassify classify) {
    static const char* const names[] = {"base", "hardware", "screen", "fingerprint", "other"};
    return Pick(names, classify + 1);
}

const char* ProverifyItemKey(ESocketProverifyItemKey key) {
    static const char* const names[] = {"model",       "identifier",   "network_model",   "number",
                                        "IMEI",        "IMEI2",        "network",         "product_type",
                                        "refurbished", "manufacturer", "manufacture_date"};
    return Pick(names, key);
}

const char* ProverifyVariableKey(ESocketProverifyVariable key) {
    static const char* const names[] = {
        "activated",       "valid_purchase_date",
        "purchase_date",   "coverage_end_date",
        "apple_care",      "activation_lock",
        "repair_status",   "technical_support",
        "coverage_status", "loaner",
        "network_lock",    "replaced",
        "qualifications",  "buy_address",
        "carrier",         "initial_operator",
        "product_type",    "manufacturer",
        "network",
    };
    return Pick(names, key);
}

}  // namespace pelmor

#pragma once

#include <QString>
#include <cstdint>
#include <functional>

// The paid professional report handed to the callback of ProfessionalVerify: its price and date, the
// compared data items, and nineteen named variables about the handset's sales and service state.

// Which variable a ISocketInfoProverifyVar holds; also the order in which the report lists them.
enum ESocketProverifyVariable : std::int32_t {
    SOCKET_PROVERIFY_VARIABLE_UNKNOWN = 0,
    SOCKET_PROVERIFY_VARIABLE_ACTIVATED = 1,
    SOCKET_PROVERIFY_VARIABLE_VALID_PURCHASE_DATE = 2,
    SOCKET_PROVERIFY_VARIABLE_PURCHASE_DATE = 3,
    SOCKET_PROVERIFY_VARIABLE_COVERAGE_END_DATE = 4,
    SOCKET_PROVERIFY_VARIABLE_APPLE_CARE = 5,
    SOCKET_PROVERIFY_VARIABLE_ACTIVATION_LOCK = 6,
    SOCKET_PROVERIFY_VARIABLE_REPAIR_STATUS = 7,
    SOCKET_PROVERIFY_VARIABLE_TECHNICAL_SUPPORT = 8,
    SOCKET_PROVERIFY_VARIABLE_COVERAGE_STATUS = 9,
    SOCKET_PROVERIFY_VARIABLE_LOANER = 10,
    SOCKET_PROVERIFY_VARIABLE_NETWORK_LOCK = 11,
    SOCKET_PROVERIFY_VARIABLE_REPLACED = 12,
    SOCKET_PROVERIFY_VARIABLE_QUALIFICATIONS = 13,
    SOCKET_PROVERIFY_VARIABLE_BUY_ADDRESS = 14,
    SOCKET_PROVERIFY_VARIABLE_CARRIER = 15,
    SOCKET_PROVERIFY_VARIABLE_INITIAL_OPERATOR = 16,
    SOCKET_PROVERIFY_VARIABLE_PRODUCT_TYPE = 17,
    SOCKET_PROVERIFY_VARIABLE_MANUFACTURER = 18,
    SOCKET_PROVERIFY_VARIABLE_NETWORK = 19,
};

// What a ISocketInfoProverifyItem compares, from its "key" (matched with case: "IMEI" is not "imei").
enum ESocketProverifyItemKey : std::int32_t {
    SOCKET_PROVERIFY_ITEM_UNKNOWN = 0,
    SOCKET_PROVERIFY_ITEM_MODEL = 1,
    SOCKET_PROVERIFY_ITEM_IDENTIFIER = 2,
    SOCKET_PROVERIFY_ITEM_NETWORK_MODEL = 3,
    SOCKET_PROVERIFY_ITEM_NUMBER = 4,
    SOCKET_PROVERIFY_ITEM_IMEI = 5,
    SOCKET_PROVERIFY_ITEM_IMEI2 = 6,
    SOCKET_PROVERIFY_ITEM_NETWORK = 7,
    SOCKET_PROVERIFY_ITEM_PRODUCT_TYPE = 8,
    SOCKET_PROVERIFY_ITEM_REFURBISHED = 9,
    SOCKET_PROVERIFY_ITEM_MANUFACTURER = 10,
    SOCKET_PROVERIFY_ITEM_MANUFACTURE_DATE = 11,
};

// One compared item: the source is the value on file, the current the value read from the handset now.
class ISocketInfoProverifyItem {
  public:
    virtual ESocketProverifyItemKey GetKey() = 0;
    virtual QString GetName() = 0;
    virtual QString GetSource() = 0;
    virtual QString GetCurrent() = 0;
    virtual QString GetResult() = 0;
    virtual QString GetMessage() = 0;

    virtual ~ISocketInfoProverifyItem() = default;
};

// One variable. Its name is the service's key text, its value the service's message about it.
class ISocketInfoProverifyVar {
  public:
    virtual ESocketProverifyVariable GetKey() = 0;
    virtual QString GetName() = 0;
    virtual QString GetValue() = 0;
    virtual QString GetResult() = 0;

    virtual ~ISocketInfoProverifyVar() = default;
};

// The report. Items and variables belong to it; do not keep the pointers the walks hand out.
class ISocketInfoProverify {
  public:
    virtual double Reprice() = 0;
    virtual QString Date() = 0;
    virtual void TraverseItem(std::function<void(ISocketInfoProverifyItem*)> function) = 0;
    // All nineteen variables, in the order of ESocketProverifyVariable, whether the service sent them or not.
    virtual void TraverseVariable(std::function<void(ISocketInfoProverifyVar*)> function) = 0;
    // Calls function with the first variable of that key and returns true; false (and no call) if none.
    virtual bool SearchVariable(ESocketProverifyVariable key,
                                std::function<void(ISocketInfoProverifyVar*)> function) = 0;

    virtual ~ISocketInfoProverify() = default;
};

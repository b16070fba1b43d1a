#include "records/CSocketInfoProverify.h"
#include <pelmor/platform/MemoryShortage.h>

#include <pelmor/platform/PlatformString.h>

#include <new>

#include "records/RecordList.h"
#include "records/RecordText.h"

namespace {

// Member names of "variable", in the order of ESocketProverifyVariable from 1; the report lists its
// variables in this order.
const char* const kVariableKeys[] = {
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

// Item keys in the order of ESocketProverifyItemKey from 1; matched with case ("IMEI" is not "imei").
const wchar_t* const kItemKeys[] = {
    L"model",        L"identifier",  L"network_model", L"number",           L"IMEI", L"IMEI2", L"network",
    L"product_type", L"refurbished", L"manufacturer",  L"manufacture_date",
};

ESocketProverifyItemKey ItemKeyOf(const XString& text) {
    for (size_t i = 0; i < sizeof kItemKeys / sizeof kItemKeys[0]; ++i)
        if (text.compare(kItemKeys[i], CaseSensitive) == 0)
            return static_cast<ESocketProverifyItemKey>(i + 1);
    return SOCKET_PROVERIFY_ITEM_UNKNOWN;
}

ESocketProverifyVariable VariableKeyOf(const QString& text) {
    for (size_t i = 0; i < sizeof kVariableKeys / sizeof kVariableKeys[0]; ++i)
        if (text.compare(QLatin1String(kVariableKeys[i]), Qt::CaseInsensitive) == 0)
            return static_cast<ESocketProverifyVariable>(i + 1);
    return SOCKET_PROVERIFY_VARIABLE_UNKNOWN;
}

}  // namespace

using Platform::String::WQ;

CSocketInfoProverifyItem::CSocketInfoProverifyItem(XJson& item) noexcept {
    try {
        const XString keyText = item.ToXString("key");
        name_ = WQ(item.ToXString("name"));
        current_ = WQ(item.ToXString("nowValue"));
        source_ = WQ(item.ToXString("originalValue"));
        result_ = WQ(item.ToXString("result"));
        message_ = WQ(item.ToXString("msg"));
        key_ = ItemKeyOf(keyText);
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        // Out of memory: the item keeps what it read so far.
    }
}

CSocketInfoProverifyVar::CSocketInfoProverifyVar(QString key, XJson object) noexcept {
    try {
        const QString result = WQ(object.ToXString("result"));
        const QString message = WQ(object.ToXString("msg"));
        name_ = key;
        // The service words a variable's value as its message; there is no "value" member.
        value_ = message;
        result_ = result;
        key_ = VariableKeyOf(key);
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

CSocketInfoProverify::CSocketInfoProverify(XJson& data) noexcept {
    try {
        price_ = data.ToDouble("price");
        date_ = WQ(data.ToXString("reportDate"));

        // Every element becomes an item, empty ones included, up to the limit of one list.
        const XJson list = data["listItem"];
        const unsigned count = list.GetArraySize();
        for (unsigned i = 0; i < count && static_cast<unsigned>(items_.size()) < RecordList::kMaxItems; ++i) {
            XJson element = list[i];
            CSocketInfoProverifyItem* item = new (std::nothrow) CSocketInfoProverifyItem(element);
            if (!item) {
                Pelmor::NoteMemoryShortage();
                continue;
            }
            try {
                items_.append(item);
            } catch (...) {
                Pelmor::NoteMemoryShortage();
                delete item;
            }
        }

        // All nineteen, whether the reply has them or not, so hosts can rely on the list's shape.
        const XJson variables = data.ToObject("variable");
        for (const char* key : kVariableKeys) {
            CSocketInfoProverifyVar* variable =
                new (std::nothrow) CSocketInfoProverifyVar(QString::fromLatin1(key), variables.ToObject(key));
            if (!variable) {
                Pelmor::NoteMemoryShortage();
                continue;
            }
            try {
                variables_.append(variable);
            } catch (...) {
                Pelmor::NoteMemoryShortage();
                delete variable;
            }
        }
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        // Out of memory: the report keeps what it built so far.
    }
}

CSocketInfoProverify::~CSocketInfoProverify() {
    qDeleteAll(items_);
    items_.clear();
    qDeleteAll(variables_);
    variables_.clear();
}

void CSocketInfoProverify::TraverseItem(std::function<void(ISocketInfoProverifyItem*)> function) noexcept {
    if (!function) return;
    for (CSocketInfoProverifyItem* item : items_)
        function(item);
}

void CSocketInfoProverify::TraverseVariable(std::function<void(ISocketInfoProverifyVar*)> function) noexcept {
    if (!function) return;
    for (CSocketInfoProverifyVar* variable : variables_)
        function(variable);
}

bool CSocketInfoProverify::SearchVariable(ESocketProverifyVariable key,
                                          std::function<void(ISocketInfoProverifyVar*)> function) noexcept {
    for (CSocketInfoProverifyVar* variable : variables_) {
        if (variable->GetKey() != key) continue;
        if (function) function(variable);
        return true;
    }
    return false;
}

#pragma once

// Reads every getter of every record, so that the sanitizers see each value a host could read. Texts are
// walked to their end, the picture to its stated length; lists are read item by item and past their end.
#include <pelmor/Records.h>

#include <QString>
#include <cstring>
#include <cwchar>
#include <stdexcept>

#include "FuzzSupport.h"

using fuzz_support::Touch;

namespace record_readers {

inline void Read(ISocketInfoAccount* record);
inline void Read(ISocketInfoUser* record);
inline void Read(ISocketInfoWechar* record);
inline void Read(ISocketInfoHeartbeat* record);
inline void Read(ISocketInfoNotify* record);
inline void Read(ISocketInfoPicture* record);
inline void Read(ISocketInfoImage* record);
inline void Read(ISocketQueryPower* record);
inline void Read(ISocketQueryDetails* record);
inline void Read(ISocketInfoBackup* record);
inline void Read(ISocketInfoKey* record);
inline void Read(const ISocketInfoColor* record);
inline void Read(const ISocketInfoScreen* record);
inline void Read(ISocketInfoAirPods* record);
inline void Read(ISocketQueryBasic* record);
inline void Read(ISocketQueryIdlock* record);
inline void Read(ISocketQueryRefurbish* record);
inline void Read(ISocketQuerySimlock* record);
inline void Read(const ISocketQueryWarranty* record);
inline void Read(const ISocketInfoIpswItem* record);
inline void Read(ISocketInfoIpsw* record);
inline void Read(ISocketQueryInvoiceItem* record);
inline void Read(ISocketQueryInvoice* record);
inline void Read(ISocketInfoProverifyItem* record);
inline void Read(ISocketInfoProverifyVar* record);
inline void Read(ISocketInfoProverify* record);
inline void Read(const XSocketInfoVerifyFeedbackReply* record);
inline void Read(const ISocketInfoVerifyItem* record);
inline void Read(const ISocketInfoVerify* record);

inline void Read(ISocketInfoAccount* record) {
    if (!record) return;
    Touch(record->GetNickName());
    Touch(record->GetAvatar());
    Touch(record->GetAvatarSmall());
    Touch(record->GetAvatarBig());
    Touch(record->GetMerchantName());
    Touch(record->GetMerchantLogo());
}

inline void Read(ISocketInfoUser* record) {
    if (!record) return;
    Touch(record->GetID());
    Touch(record->GetName());
    Touch(record->GetHeadImage());
    Touch(record->GetPhone());
}

inline void Read(ISocketInfoWechar* record) {
    if (!record) return;
    Touch(record->GetID());
    Touch(record->GetName());
    Touch(record->GetHeadImage());
    Touch(record->GetPhone());
}

inline void Read(ISocketInfoHeartbeat* record) {
    if (!record) return;
    Touch(record->GetTime());
    Touch(record->GetAddress());
}

inline void Read(ISocketInfoNotify* record) {
    if (!record) return;
    Touch(record->GetID());
    Touch(record->IsSystem());
    Touch(record->GetTitle());
    Touch(record->GetTime());
    Touch(record->GetURL());
    Touch(record->IsPopup());
    Touch(record->GetUpdateTime());
}

inline void Read(ISocketInfoPicture* record) {
    if (!record) return;
    Touch(record->GetData(), record->GetLength());
}

inline void Read(ISocketInfoImage* record) {
    if (!record) return;
    Touch(record->GetName());
    Touch(record->GetImage());
}

inline void Read(ISocketQueryPower* record) {
    if (!record) return;
    Touch(record->GetVerifyNetwork());
    Touch(record->GetOverGreen());
}

inline void Read(ISocketQueryDetails* record) {
    if (!record) return;
    Touch(record->GetBalance());
}

inline void Read(ISocketInfoBackup* record) {
    if (!record) return;
    Touch(record->GetType());
    Touch(record->GetSerial());
    Touch(record->GetDate());
    Touch(record->GetRam());
    Touch(record->GetModel());
    Touch(record->GetArea());
    Touch(record->GetColor());
    Touch(record->GetMLB());
    Touch(record->GetBMAC());
    Touch(record->GetWMAC());
    Touch(record->GetBatt());
    Touch(record->GetLCM());
    Touch(record->GetBCMS());
    Touch(record->GetFCMS());
    Touch(record->GetMtSN());
    Touch(record->GetNvSN());
    Touch(record->GetNSrN());
    Touch(record->GetPscl());
    Touch(record->GetBackup());
}

inline void Read(ISocketInfoKey* record) {
    if (!record) return;
    Touch(record->GetScreenLCD());
    Touch(record->GetScreenLCM());
    Touch(record->GetBackupClass());
    Touch(record->GetBackupKey());
}

inline void Read(const ISocketInfoColor* record) {
    if (!record) return;
    Touch(record->GetFrontColor());
    Touch(record->GetBackColor());
}

inline void Read(const ISocketInfoScreen* record) {
    if (!record) return;
    Touch(record->GetFactory());
    Touch(record->GetDate());
}

inline void Read(ISocketInfoAirPods* record) {
    if (!record) return;
    Touch(record->GetModel());
    Touch(record->GetSerialNumber());
    Touch(record->GetDescribe());
    Touch(record->IsApple());
}

inline void Read(ISocketQueryBasic* record) {
    if (!record) return;
    Touch(record->GetColorFront());
    Touch(record->GetColorBack());
}

inline void Read(ISocketQueryIdlock* record) {
    if (!record) return;
    Touch(record->GetKey());
    Touch(record->GetName());
    Touch(record->GetShow());
    Touch(record->GetResult());
}

inline void Read(ISocketQueryRefurbish* record) {
    if (!record) return;
    Touch(record->GetKey());
    Touch(record->GetName());
    Touch(record->GetShow());
    Touch(record->GetResult());
}

inline void Read(ISocketQuerySimlock* record) {
    if (!record) return;
    Touch(record->GetKey());
    Touch(record->GetName());
    Touch(record->GetShow());
    Touch(record->GetResult());
}

inline void Read(const ISocketQueryWarranty* record) {
    if (!record) return;
    Touch(record->GetPurchase());
    Touch(record->GetWarranty());
    Touch(record->GetDaysleft());
}

inline void Read(const ISocketInfoIpswItem* record) {
    if (!record) return;
    Touch(record->GetVersion());
    Touch(record->GetName());
    Touch(record->GetSize());
    Touch(record->GetUrl());
    Touch(record->GetBeta());
    Touch(record->GetBuildId());
    Touch(record->GetMD5());
    Touch(record->GetBytes());
}

inline void Read(ISocketInfoIpsw* record) {
    if (!record) return;
    Touch(record->GetCount());
    const unsigned count = record->GetCount();
    for (unsigned i = 0; i < count; ++i)
        Read(record->GetItem(i));
    try {
        record->GetItem(count);
        __builtin_trap();  // past the end must throw
    } catch (const std::out_of_range&) {
    }
}

inline void Read(ISocketQueryInvoiceItem* record) {
    if (!record) return;
    Touch(record->GetDate());
    Touch(record->GetSerial());
    Touch(record->GetTarget());
    Touch(record->GetAmount());
    Touch(record->GetBalance());
}

inline void Read(ISocketQueryInvoice* record) {
    if (!record) return;
    Touch(record->GetCount());
    const unsigned count = record->GetCount();
    for (unsigned i = 0; i < count; ++i)
        Read(record->GetItem(i));
    if (record->GetItem(count)) __builtin_trap();  // past the end is null
    record->Traverse([](ISocketQueryInvoiceItem* item) {
        Read(item);
        return true;
    });
}

inline void Read(ISocketInfoProverifyItem* record) {
    if (!record) return;
    Touch(record->GetKey());
    Touch(record->GetName());
    Touch(record->GetSource());
    Touch(record->GetCurrent());
    Touch(record->GetResult());
    Touch(record->GetMessage());
}

inline void Read(ISocketInfoProverifyVar* record) {
    if (!record) return;
    Touch(record->GetKey());
    Touch(record->GetName());
    Touch(record->GetValue());
    Touch(record->GetResult());
}

inline void Read(ISocketInfoProverify* record) {
    if (!record) return;
    Touch(record->Reprice());
    Touch(record->Date());
    record->TraverseItem([](ISocketInfoProverifyItem* item) { Read(item); });
    record->TraverseVariable([](ISocketInfoProverifyVar* variable) { Read(variable); });
    for (int key = -1; key < 24; ++key)
        record->SearchVariable(static_cast<ESocketProverifyVariable>(key),
                               [](ISocketInfoProverifyVar* variable) { Read(variable); });
}

inline void Read(const XSocketInfoVerifyFeedbackReply* record) {
    if (!record) return;
    Touch(record->GetResult());
    Touch(record->GetFeedbackMessage());
    Touch(record->GetFeedbackDate());
    Touch(record->GetReplyMessage());
}

inline void Read(const ISocketInfoVerifyItem* record) {
    if (!record) return;
    Touch(record->GetClassify());
    Touch(record->GetKey());
    Touch(record->GetName());
    Touch(record->GetResult());
    Touch(record->GetOriginal());
    Touch(record->GetNow());
    Touch(record->GetMessage());
    Touch(record->GetURL());
    Touch(record->GetOriginalTime());
    Touch(record->GetNowTime());
    Touch(record->GetShow());
    Touch(record->GetBusiness());
}

inline void Read(const ISocketInfoVerify* record) {
    if (!record) return;
    Touch(record->GetSuccess());
    Touch(record->GetError());
    Touch(record->GetRequestMessage());
    Touch(record->GetVersionMessage());
    Touch(record->GetVerifyMessage());
    Touch(record->GetTotalResult());
    Touch(record->GetCardValue());
    Touch(record->GetCardState());
    Touch(record->GetOpenValue());
    Touch(record->GetOpenState());
    Touch(record->GetScore());
    Touch(record->GetRootValue());
    Touch(record->GetRootState());
    Touch(record->GetWifiValue());
    Touch(record->GetWifiState());
    Touch(record->GetDiskValue());
    Touch(record->GetDiskState());
    Touch(record->GetMeidValue());
    Touch(record->GetMeidState());
    Touch(record->GetBaseState());
    Touch(record->GetHardwareState());
    Touch(record->GetScreenState());
    Touch(record->GetFingerMarkState());
    Touch(record->GetOtherState());
    Touch(record->GetMainboardValue());
    Touch(record->GetMainboardState());
    Touch(record->GetBasebandValue());
    Touch(record->GetBasebandState());
    Touch(record->GetSimValue());
    Touch(record->GetSimState());
    Touch(record->GetHarddiskValue());
    Touch(record->GetHarddiskState());
    record->TraverseItem([](const ISocketInfoVerifyItem* item) { Read(item); });
}

}  // namespace record_readers

#include "records/CSocketDeviceQueries.h"
#include <pelmor/platform/MemoryShortage.h>

#include <pelmor/PelmorSocket.h>

#include "records/RecordText.h"

using RecordText::Copy;

// Each constructor or SetJson stops where memory runs out; the record keeps what it read so far.

CSocketInfoColor::CSocketInfoColor(XJson& data) noexcept {
    try {
        frontColor_ = data.ToXString("frontColor");
        backColor_ = data.ToXString("backColor");
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

XString CSocketInfoColor::GetFrontColor() const noexcept {
    return Copy(frontColor_);
}
XString CSocketInfoColor::GetBackColor() const noexcept {
    return Copy(backColor_);
}

CSocketInfoScreen::CSocketInfoScreen(XJson& data) noexcept {
    try {
        factory_ = data.ToXString("manufacturers");
        // The service's own spelling.
        date_ = data.ToXString("manufactureData");
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

XString CSocketInfoScreen::GetFactory() const noexcept {
    return Copy(factory_);
}
XString CSocketInfoScreen::GetDate() const noexcept {
    return Copy(date_);
}

CSocketInfoAirPods::CSocketInfoAirPods() noexcept {
    try {
        model_ = QString::fromUtf8("");
        serialNumber_ = QString::fromUtf8("");
        describe_ = QString::fromUtf8("");
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

void CSocketInfoAirPods::SetJson(XJson& data) noexcept {
    try {
        model_ = RecordText::ToQString(data, "name");
        serialNumber_ = RecordText::ToQString(data, "srnm");
        describe_ = RecordText::ToQString(data, "describe");
        apple_ = data.ToBool("apple");
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

void CSocketQueryBasic::SetJson(XJson data) noexcept {
    try {
        colorFront_ = data.ToString("frontColor");
        colorBack_ = data.ToString("backColor");
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

CSocketQueryWarranty::CSocketQueryWarranty(XJson data) noexcept {
    const bool enterprise = _C85033D6_B71F_41CC_B878_9489F17BD26C() != PELMOR_SOCKET_EDITION_STANDARD;
    try {
        purchase_ = data.ToXString("purchase");
        warranty_ = data.ToXString("warranty");
        daysleft_ = data.ToInt(enterprise ? "daysleft" : "leftDays");
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

XString CSocketQueryWarranty::GetPurchase() const noexcept {
    return Copy(purchase_);
}
XString CSocketQueryWarranty::GetWarranty() const noexcept {
    return Copy(warranty_);
}

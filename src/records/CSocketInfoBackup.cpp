#include "records/CSocketInfoBackup.h"
#include <pelmor/platform/MemoryShortage.h>

void CSocketInfoBackup::SetJson(XJson& data) noexcept {
    try {
        type_ = data.ToString("mobName");
        serial_ = data.ToString("srnm");
        date_ = data.ToString("date");
        ram_ = data.ToString("ram");
        model_ = data.ToString("mod");
        area_ = data.ToString("regn");
        // The back colour: the service keeps no front colour here.
        color_ = data.ToString("backColor");
        mlb_ = data.ToString("mlb");
        bmac_ = data.ToString("bmac");
        wmac_ = data.ToString("wmac");
        batt_ = data.ToString("batt");
        lcm_ = data.ToString("lcm");
        bcms_ = data.ToString("bcms");
        fcms_ = data.ToString("fcms");
        mtsn_ = data.ToString("mtsn");
        nvsn_ = data.ToString("nvsn");
        nsrn_ = data.ToString("nsrn");
        pscl_ = data.ToString("pscl");
        backup_ = data.ToString("backup");
    } catch (...) {
        Pelmor::NoteMemoryShortage();
        // Out of memory: the record keeps what it read so far.
    }
}

void CSocketInfoKey::SetJson(XJson data) noexcept {
    try {
        screenLcd_ = data.ToString("lcd");
        screenLcm_ = data.ToString("lcm");
        backupClass_ = data.ToString("verifyDevice13Class");
        backupKey_ = data.ToString("verifyDevice13Key");
    } catch (...) {
        Pelmor::NoteMemoryShortage();
    }
}

#pragma once

// Texts the service keeps about a handset: its factory data (DeviceBackup) and its screen identifiers and
// backup key (DeviceKey). Texts are UTF-8; the pointers stay valid while the record lives, that is for
// the duration of the callback.

// The factory data on file. Note the pairings: the type is the service's "mobName", the model its "mod",
// the area its "regn" and the colour its back colour.
class ISocketInfoBackup {
  public:
    virtual const char* GetType() = 0;
    virtual const char* GetSerial() = 0;
    virtual const char* GetDate() = 0;
    virtual const char* GetRam() = 0;
    virtual const char* GetModel() = 0;
    virtual const char* GetArea() = 0;
    virtual const char* GetColor() = 0;
    virtual const char* GetMLB() = 0;
    virtual const char* GetBMAC() = 0;
    virtual const char* GetWMAC() = 0;
    virtual const char* GetBatt() = 0;
    virtual const char* GetLCM() = 0;
    virtual const char* GetBCMS() = 0;
    virtual const char* GetFCMS() = 0;
    virtual const char* GetMtSN() = 0;
    virtual const char* GetNvSN() = 0;
    virtual const char* GetNSrN() = 0;
    virtual const char* GetPscl() = 0;
    virtual const char* GetBackup() = 0;

    virtual ~ISocketInfoBackup() = default;
};

class ISocketInfoKey {
  public:
    virtual const char* GetScreenLCD() = 0;
    virtual const char* GetScreenLCM() = 0;
    virtual const char* GetBackupClass() = 0;
    virtual const char* GetBackupKey() = 0;

    virtual ~ISocketInfoKey() = default;
};

#pragma once

#include <pelmor/platform/XJson.h>
#include <pelmor/platform/XString.h>
#include <pelmor/records/FirmwareList.h>

#include <cstddef>
#include <vector>

#include "records/Utf8Texts.h"

class CSocketInfoIpswItem : public ISocketInfoIpswItem {
  public:
    CSocketInfoIpswItem() = default;
    CSocketInfoIpswItem(const CSocketInfoIpswItem&) = delete;
    CSocketInfoIpswItem& operator=(const CSocketInfoIpswItem&) = delete;

    XString GetVersion() const noexcept override;
    XString GetName() const noexcept override;
    XString GetSize() const noexcept override;
    XString GetUrl() const noexcept override;
    bool GetBeta() const noexcept override { return beta_; }
    XString GetBuildId() const noexcept override;
    XString GetMD5() const noexcept override;
    long long GetBytes() const noexcept override { return bytes_; }

    ~CSocketInfoIpswItem() override = default;

    virtual void SetJson(XJson& item) noexcept;

  private:
    enum Text : std::size_t { kVersion, kName, kSize, kUrl, kBuildId, kMD5, kTexts };

    Utf8Texts<kTexts> texts_;
    bool beta_ = false;
    long long bytes_ = 0;
};

// The firmware list of DeviceIpsw, filled from the reply's data array.
class CSocketInfoIpsw : public ISocketInfoIpsw {
  public:
    CSocketInfoIpsw() = default;
    CSocketInfoIpsw(const CSocketInfoIpsw&) = delete;
    CSocketInfoIpsw& operator=(const CSocketInfoIpsw&) = delete;

    unsigned int GetCount() noexcept override { return static_cast<unsigned int>(items_.size()); }
    // Checked access: past the end throws std::out_of_range, as hosts of this list expect.
    ISocketInfoIpswItem* GetItem(unsigned int index) override { return items_.at(index); }

    ~CSocketInfoIpsw() override;

    virtual void Clear() noexcept;
    // Replaces the items with those of the array; empty elements are left out.
    virtual void SetJson(XJson array) noexcept;

  private:
    std::vector<CSocketInfoIpswItem*> items_;
};

#pragma once

#include <pelmor/platform/XJson.h>
#include <pelmor/records/InvoiceList.h>

#include <string>
#include <vector>

class CSocketQueryInvoiceItem : public ISocketQueryInvoiceItem {
  public:
    CSocketQueryInvoiceItem() = default;

    const char* GetDate() noexcept override { return date_.c_str(); }
    const char* GetSerial() noexcept override { return serial_.c_str(); }
    const char* GetTarget() noexcept override { return target_.c_str(); }
    double GetAmount() noexcept override { return amount_; }
    double GetBalance() noexcept override { return balance_; }

    ~CSocketQueryInvoiceItem() override = default;

    virtual void SetJson(XJson& item) noexcept;

  private:
    std::string date_;
    std::string serial_;
    std::string target_;
    double amount_ = 0.0;
    double balance_ = 0.0;
};

// The daily bill of QueryInvoice, filled from the reply's data array.
class CSocketQueryInvoice : public ISocketQueryInvoice {
  public:
    CSocketQueryInvoice() = default;
    CSocketQueryInvoice(const CSocketQueryInvoice&) = delete;
    CSocketQueryInvoice& operator=(const CSocketQueryInvoice&) = delete;

    unsigned int GetCount() noexcept override { return static_cast<unsigned int>(items_.size()); }
    ISocketQueryInvoiceItem* GetItem(unsigned int index) noexcept override;
    bool Traverse(std::function<bool(ISocketQueryInvoiceItem*)> visitor) noexcept override;

    ~CSocketQueryInvoice() override;

    virtual void Clear() noexcept;
    // Replaces the lines with those of the array; empty elements are left out.
    virtual void SetJson(XJson array) noexcept;

  private:
    std::vector<CSocketQueryInvoiceItem*> items_;
};

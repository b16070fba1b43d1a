#pragma once

#include <functional>

// The enterprise daily bill (QueryInvoice). Texts are UTF-8 and live as long as the bill.

class ISocketQueryInvoiceItem {
  public:
    virtual const char* GetDate() = 0;
    virtual const char* GetSerial() = 0;
    // What the charge was for ("used").
    virtual const char* GetTarget() = 0;
    virtual double GetAmount() = 0;
    virtual double GetBalance() = 0;

    virtual ~ISocketQueryInvoiceItem() = default;
};

// The bill owns its lines; they live as long as the bill.
class ISocketQueryInvoice {
  public:
    virtual unsigned int GetCount() = 0;
    // Null for an index at or past GetCount().
    virtual ISocketQueryInvoiceItem* GetItem(unsigned int index) = 0;
    // Visits the lines in order until visitor returns false. Returns false only for an empty bill; an
    // empty visitor visits nothing.
    virtual bool Traverse(std::function<bool(ISocketQueryInvoiceItem*)> visitor) = 0;

    virtual ~ISocketQueryInvoice() = default;
};

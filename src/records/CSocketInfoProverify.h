#pragma once

#include <pelmor/platform/XJson.h>
#include <pelmor/records/ProfessionalReport.h>

#include <QList>
#include <QString>

class CSocketInfoProverifyItem : public ISocketInfoProverifyItem {
  public:
    explicit CSocketInfoProverifyItem(XJson& item) noexcept;
    CSocketInfoProverifyItem(const CSocketInfoProverifyItem&) = delete;
    CSocketInfoProverifyItem& operator=(const CSocketInfoProverifyItem&) = delete;

    ESocketProverifyItemKey GetKey() noexcept override { return key_; }
    QString GetName() noexcept override { return name_; }
    QString GetSource() noexcept override { return source_; }
    QString GetCurrent() noexcept override { return current_; }
    QString GetResult() noexcept override { return result_; }
    QString GetMessage() noexcept override { return message_; }

    ~CSocketInfoProverifyItem() override = default;

  private:
    ESocketProverifyItemKey key_ = SOCKET_PROVERIFY_ITEM_UNKNOWN;
    QString name_;
    QString source_;
    QString current_;
    QString result_;
    QString message_;
};

class CSocketInfoProverifyVar : public ISocketInfoProverifyVar {
  public:
    CSocketInfoProverifyVar(QString key, XJson object) noexcept;
    CSocketInfoProverifyVar(const CSocketInfoProverifyVar&) = delete;
    CSocketInfoProverifyVar& operator=(const CSocketInfoProverifyVar&) = delete;

    ESocketProverifyVariable GetKey() noexcept override { return key_; }
    QString GetName() noexcept override { return name_; }
    QString GetValue() noexcept override { return value_; }
    QString GetResult() noexcept override { return result_; }

    ~CSocketInfoProverifyVar() override = default;

  private:
    ESocketProverifyVariable key_ = SOCKET_PROVERIFY_VARIABLE_UNKNOWN;
    QString name_;
    QString value_;
    QString result_;
};

// Filled once from the reply's data by ProfessionalVerify, read-only afterwards.
class CSocketInfoProverify : public ISocketInfoProverify {
  public:
    explicit CSocketInfoProverify(XJson& data) noexcept;
    CSocketInfoProverify(const CSocketInfoProverify&) = delete;
    CSocketInfoProverify& operator=(const CSocketInfoProverify&) = delete;

    double Reprice() noexcept override { return price_; }
    QString Date() noexcept override { return date_; }
    void TraverseItem(std::function<void(ISocketInfoProverifyItem*)> function) noexcept override;
    void TraverseVariable(std::function<void(ISocketInfoProverifyVar*)> function) noexcept override;
    bool SearchVariable(ESocketProverifyVariable key,
                        std::function<void(ISocketInfoProverifyVar*)> function) noexcept override;

    ~CSocketInfoProverify() override;

  private:
    double price_ = 0.0;
    QString date_;
    QList<CSocketInfoProverifyItem*> items_;
    QList<CSocketInfoProverifyVar*> variables_;
};

#pragma once

#include <QString>

// The outcome of one exchange with the service, as the host sees it. The host owns every reply an
// operation returns and frees it with Release().
class ISocketReply {
  public:
    virtual void Release() = 0;
    // True when the service answered with code 0.
    virtual bool IsSuccess() const = 0;
    virtual QString Token() const = 0;
    // 0 success; 1 to 5 the library's own failures (see HalvexReply.h); anything else the service's code.
    virtual int Code() const = 0;
    virtual QString Error() const = 0;
    virtual QString Message() const = 0;
    virtual long long Timestamp() const = 0;

  protected:
    virtual ~ISocketReply() = default;
};

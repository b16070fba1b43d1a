#pragma once

// Types that the service interface names. The records' full interfaces are in their own headers.
class ISocketDevice;
class ISocketFeedback;
class ISocketReply;

class ISocketInfoAccount;
class ISocketInfoAirPods;
class ISocketInfoBackup;
class ISocketInfoColor;
class ISocketInfoHeartbeat;
class ISocketInfoImage;
class ISocketInfoIpsw;
class ISocketInfoKey;
class ISocketInfoNotify;
class ISocketInfoProverify;
class ISocketInfoScreen;
class ISocketInfoUser;
class ISocketInfoVerify;
class ISocketInfoWechar;
class ISocketQueryBasic;
class ISocketQueryDetails;
class ISocketQueryIdlock;
class ISocketQueryInvoice;
class ISocketQueryPower;
class ISocketQueryRefurbish;
class ISocketQuerySimlock;
class ISocketQueryWarranty;
class XSocketInfoVerifyFeedbackReply;

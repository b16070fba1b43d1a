#pragma once

// Every record implementation, for the service operations that build them.
#include <pelmor/records/VerifyFeedbackReply.h>

#include "records/CSocketAccountRecords.h"
#include "records/CSocketDeviceQueries.h"
#include "records/CSocketInfoBackup.h"
#include "records/CSocketInfoIpsw.h"
#include "records/CSocketInfoProverify.h"
#include "records/CSocketInfoVerify.h"
#include "records/CSocketQueryInvoice.h"

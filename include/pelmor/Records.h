#pragma once

// Every result record a service operation hands to a callback.
#include <pelmor/records/AccountRecords.h>
#include <pelmor/records/BackupRecords.h>
#include <pelmor/records/DeviceQueries.h>
#include <pelmor/records/FirmwareList.h>
#include <pelmor/records/InvoiceList.h>
#include <pelmor/records/ProfessionalReport.h>
#include <pelmor/records/VerifyFeedbackReply.h>
#include <pelmor/records/VerifyReport.h>

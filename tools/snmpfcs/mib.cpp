#include "mib.h"

#include <stdexcept>
#include <string>
#include <strings.h>

namespace snmpfcs {

namespace {

using enum Syntax;
using enum Access;

constexpr auto kStartDiscovery = std::to_array<Term>({{"start", 1}, {"noOp", 2}});
constexpr auto kDiscoveryStatuses =
    std::to_array<Term>({{"inProgress", 1}, {"completed", 2}, {"localOnly", 3}});
constexpr auto kIeTypes =
    std::to_array<Term>({{"unknown", 1}, {"switch", 3}, {"hub", 4}, {"bridge", 5}});
constexpr auto kConfigSources = std::to_array<Term>({{"configured", 1}, {"discovered", 2}});
constexpr auto kRowStatuses = std::to_array<Term>({{"active", 1},
                                                   {"notInService", 2},
                                                   {"notReady", 3},
                                                   {"createAndGo", 4},
                                                   {"createAndWait", 5},
                                                   {"destroy", 6}});
constexpr auto kPortTypes = std::to_array<Term>({{"unidentified", 1},
                                                 {"fPort", 2},
                                                 {"flPort", 3},
                                                 {"ePort", 4},
                                                 {"bPort", 5},
                                                 {"code253", 7},
                                                 {"code255", 8},
                                                 {"nPort", 9},
                                                 {"nlPort", 10},
                                                 {"nxPort", 11},
                                                 {"code254", 12},
                                                 {"code252", 13},
                                                 {"code250", 17},
                                                 {"code249", 18}});
constexpr auto kPortTxTypes = std::to_array<Term>({{"unknown", 1},
                                                   {"longWaveLaser", 2},
                                                   {"shortWaveLaser", 3},
                                                   {"longWaveLaserCostReduced", 4},
                                                   {"electrical", 5}});
constexpr auto kPortStates = std::to_array<Term>(
    {{"unknown", 1}, {"online", 2}, {"offline", 3}, {"testing", 4}, {"fault", 5}, {"other", 6}});
constexpr auto kPlatformTypes = std::to_array<Term>({{"notSet", 0},
                                                     {"unknown", 1},
                                                     {"other", 2},
                                                     {"gateway", 3},
                                                     {"converter", 4},
                                                     {"hba", 5},
                                                     {"proxyAgent", 6},
                                                     {"storageDevice", 7},
                                                     {"host", 8},
                                                     {"storageSubsystem", 9},
                                                     {"module", 10},
                                                     {"softwareDriver", 11},
                                                     {"storageAccessDevice", 12}});
constexpr auto kPlatformValidations = std::to_array<Term>({{"validate", 1}, {"noOp", 2}});
constexpr auto kPlatformValidationResults =
    std::to_array<Term>({{"notSet", 0}, {"notValidated", 1}, {"valid", 2}, {"invalid", 3}});
constexpr auto kTruthValues = std::to_array<Term>({{"true", 1}, {"false", 2}});
constexpr auto kRejReasonCodes = std::to_array<Term>({{"none", 1},
                                                      {"invalidCommandCode", 2},
                                                      {"invalidVersionLevel", 3},
                                                      {"logicalError", 4},
                                                      {"invalidInformationUnitSize", 5},
                                                      {"logicalBusy", 6},
                                                      {"protocolError", 7},
                                                      {"unableToPerformRequest", 8},
                                                      {"commandNotSupported", 9},
                                                      {"vendorSpecificError", 10}});
constexpr auto kRejReasonCodeExpls = std::to_array<Term>({{"noAdditionalExplanation", 1},
                                                          {"invalidIeName", 2},
                                                          {"ieListNotAvailable", 3},
                                                          {"ieTypeNotAvailable", 4},
                                                          {"domainIdNotAvailable", 5},
                                                          {"mgmtIdNotAvailable", 6},
                                                          {"fabricNameNotAvailable", 7},
                                                          {"ieLogicalNameNotAvailable", 8},
                                                          {"mgmtAddrListNotAvailable", 9},
                                                          {"ieInfoListNotAvailable", 10},
                                                          {"portListNotAvailable", 11},
                                                          {"portTypeNotAvailable", 12},
                                                          {"phyPortNumNotAvailable", 13},
                                                          {"attachPortNameListNotAvailable", 14},
                                                          {"portStateNotAvailable", 15},
                                                          {"unableToRegisterIeLogicalName", 16},
                                                          {"platformNameDoesNotExist", 17},
                                                          {"platformNameAlreadyExists", 18},
                                                          {"platformNodeNameDoesNotExist", 19},
                                                          {"platformNodeNameAlreadyExists", 20}});

constexpr Object kTable[] = {
    {"1.1.1", "fcsVsanDiscoverySpinLock", kInteger, kWrite},
    {"1.1.2", "fcsVsanDiscoveryName", kText, kWrite},
    {"1.1.3", "fcsVsanDiscoveryList2k", kVsanBitmap, kWrite},
    {"1.1.4", "fcsVsanDiscoveryList4k", kVsanBitmap, kWrite},
    {"1.1.5", "fcsStartDiscovery", kInteger, kWrite, kStartDiscovery},
    {"1.1.6.1.1", "fcsDiscoveryStatus", kInteger, kRead, kDiscoveryStatuses},
    {"1.1.6.1.2", "fcsDiscoveryCompletedTime", kTicks, kRead},
    {"1.1.7", "fcsVsanDiscoveryTimeOut", kUnsigned, kWrite},
    {"1.1.8", "fcsDiscoveryInvalidateCache2k", kVsanBitmap, kWrite},
    {"1.1.9", "fcsDiscoveryInvalidateCache4k", kVsanBitmap, kWrite},
    {"1.1.10", "fcsIeNumber", kInteger, kRead},
    {"1.1.11.1.2", "fcsIeType", kInteger, kRead, kIeTypes},
    {"1.1.11.1.3", "fcsIeDomainId", kInteger, kRead},
    {"1.1.11.1.4", "fcsIeMgmtId", kOctets, kRead},
    {"1.1.11.1.5", "fcsIeFabricName", kWwn, kRead},
    {"1.1.11.1.6", "fcsIeLogicalName", kText, kRead},
    {"1.1.11.1.7", "fcsIeMgmtAddrListIndex", kInteger, kRead},
    {"1.1.11.1.8", "fcsIeInfoList", kOctets, kRead},
    {"1.1.11.1.9", "fcsIePortListIndex", kInteger, kRead},
    {"1.1.12.1.3", "fcsMgmtAddr", kText, kWrite},
    {"1.1.12.1.4", "fcsMgmtAddrConfigSource", kInteger, kRead, kConfigSources},
    {"1.1.12.1.5", "fcsMgmtAddrRowStatus", kInteger, kWrite, kRowStatuses},
    {"1.1.13.1.1", "fcsPortListIndex", kInteger, kRead},
    {"1.1.14", "fcsPortNumber", kInteger, kRead},
    {"1.1.15.1.2", "fcsPortType", kInteger, kRead, kPortTypes},
    {"1.1.15.1.3", "fcsPortTxType", kInteger, kRead, kPortTxTypes},
    {"1.1.15.1.4", "fcsPortModuleType", kInteger, kRead},
    {"1.1.15.1.5", "fcsPortPhyPortNum", kInteger, kRead},
    {"1.1.15.1.6", "fcsPortAttachPortNameIndex", kInteger, kRead},
    {"1.1.15.1.7", "fcsPortState", kInteger, kRead, kPortStates},
    {"1.1.16.1.2", "fcsAttachPortName", kPortName, kRead},
    {"1.1.17", "fcsPlatformNumber", kInteger, kRead},
    {"1.1.18.1.2", "fcsPlatformName", kText, kWrite},
    {"1.1.18.1.3", "fcsPlatformType", kInteger, kWrite, kPlatformTypes},
    {"1.1.18.1.4", "fcsPlatformNodeNameListIndex", kInteger, kWrite},
    {"1.1.18.1.5", "fcsPlatformMgmtAddrListIndex", kInteger, kWrite},
    {"1.1.18.1.6", "fcsPlatformConfigSource", kInteger, kRead, kConfigSources},
    {"1.1.18.1.7", "fcsPlatformValidation", kInteger, kWrite, kPlatformValidations},
    {"1.1.18.1.8", "fcsPlatformValidationResult", kInteger, kRead, kPlatformValidationResults},
    {"1.1.18.1.9", "fcsPlatformRowStatus", kInteger, kWrite, kRowStatuses},
    {"1.1.19.1.3", "fcsNodeNameConfigSource", kInteger, kRead, kConfigSources},
    {"1.1.19.1.4", "fcsNodeNameRowStatus", kInteger, kWrite, kRowStatuses},
    {"1.1.20", "fcsReqRejNotifyEnable", kInteger, kWrite, kTruthValues},
    {"1.1.21", "fcsDiscoveryCompleteNotifyEnable", kInteger, kWrite, kTruthValues},
    {"1.2.1", "fcsTotalRejects", kCounter, kRead},
    {"1.2.2.1.1", "fcsRxGetReqs", kCounter, kRead},
    {"1.2.2.1.2", "fcsTxGetReqs", kCounter, kRead},
    {"1.2.2.1.3", "fcsRxRegReqs", kCounter, kRead},
    {"1.2.2.1.4", "fcsTxRegReqs", kCounter, kRead},
    {"1.2.2.1.5", "fcsRxDeregReqs", kCounter, kRead},
    {"1.2.2.1.6", "fcsTxDeregReqs", kCounter, kRead},
    {"1.2.2.1.7", "fcsTxRscns", kCounter, kRead},
    {"1.2.2.1.8", "fcsRxRscns", kCounter, kRead},
    {"1.2.2.1.9", "fcsRejects", kCounter, kRead},
    {"1.3.1", "fcsRejReasonCode", kInteger, kRead, kRejReasonCodes},
    {"1.3.2", "fcsRejReasonCodeExpl", kInteger, kRead, kRejReasonCodeExpls},
};

} // namespace

const std::span<const Object> kObjects = kTable;

const Object &object(std::string_view name) {
  const auto found = std::ranges::find(kObjects, name, &Object::name);
  if (found == kObjects.end()) {
    throw std::logic_error("no object " + std::string(name));
  }
  return *found;
}

bool is_indexed_by_vsan_alone(const Object &column) {
  return column.place.starts_with("1.1.6.") || column.place.starts_with("1.2.2.");
}

std::optional<int64_t> value_of(Terms terms, std::string_view word) {
  const auto found = std::ranges::find_if(terms, [word](const Term &term) {
    return term.word.size() == word.size() &&
           strncasecmp(term.word.data(), word.data(), word.size()) == 0;
  });
  return found == terms.end() ? std::nullopt : std::optional(found->value);
}

std::optional<std::string_view> word_of(Terms terms, int64_t value) {
  const auto found = std::ranges::find(terms, value, &Term::value);
  return found == terms.end() ? std::nullopt : std::optional(found->word);
}

} // namespace snmpfcs

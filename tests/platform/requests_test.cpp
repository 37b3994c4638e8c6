/** Requests on their way to the module: whom they are from, and what is made of them. */
#include "agent.h"

#include "feature/fabric_conf_server/snmp/fcs_variables.h"
#include "platform/agent_host.h"
#include "platform/linux/agent/interception.h"
#include "platform/linux/request/agent_request.h"
#include "platform/linux/roles/roles.h"

#include <functional>
#include <sched.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const Name kName = {1, 1, 2, 0};
const Name kLock = {1, 1, 1, 0};

/** What the module does: in a read with the name asked for, in a SET with a phase and a value. */
std::function<bool(Name &name)> on_read;
std::function<int(int phase, u_char *value, size_t length)> on_write;

int write(int phase, u_char *value, u_char /*type*/, size_t length, u_char * /*read*/,
          oid * /*name*/, size_t /*name_length*/) {
  return on_write(phase, value, length);
}

/** Takes the place of each of the module's variables. */
u_char *stand_in(variable * /*variable*/, oid *name, size_t *length, int /*exact*/,
                 size_t *value_length, WriteMethod **write_method) {
  static int32_t value = 7;
  Name asked(name + 9, name + *length);
  *write_method = write;
  if (!on_read(asked)) {
    return nullptr;
  }
  std::copy(asked.begin(), asked.end(), name + 9);
  *length = 9 + asked.size();
  *value_length = sizeof(value);
  return reinterpret_cast<u_char *>(&value);
}

class Requests : public Agent {
protected:
  Requests() {
    auto variables = std::to_array(fcs_mib_variables);
    for (variable7 &variable : variables) {
      variable.findVar = stand_in;
    }
    const oid root[] = {1, 3, 6, 1, 4, 1, 32473, 1, 1};
    register_mib("fcs_mib", reinterpret_cast<variable *>(variables.data()), sizeof(variable7),
                 variables.size(), root, std::size(root));
    intercept_requests([] { ++served_; });
    served_ = 0;
    forget();
  }
  ~Requests() override {
    release_registrations();
    const oid name[] = {1, 3, 6, 1, 4, 1, 32473, 1, 1, 1, 1, 2};
    EXPECT_STRNE(netsnmp_subtree_find(name, std::size(name), nullptr, "")->reginfo->handlerName,
                 "fcs_mib");
  }

  /** Does something while a message is served. */
  static void within(Message &message, const std::function<void()> &act, int mode = MODE_GET) {
    on_read = [&](Name &) { return act(), true; };
    on_write = [&](int, u_char *, size_t) { return act(), SNMP_ERR_NOERROR; };
    message.serve(mode);
    forget();
  }

  static void forget() {
    on_read = [](Name &) { return true; };
    on_write = [](int, u_char *, size_t) { return SNMP_ERR_NOERROR; };
  }

  static inline int served_;
};

TEST_F(Requests, TellWhomTheyAreFrom) {
  EXPECT_STREQ(agent_session_user(0), "");
  EXPECT_EQ(agent_session_id(0), 0U);
  for (const char *user : {"olga", "bert"}) {
    Message message(SNMP_MSG_GET, {kName}, user);
    within(message, [&] {
      EXPECT_STREQ(agent_session_user(0), user);
      EXPECT_EQ(agent_session_id(0), message.pdu.transid);
    });
  }
  EXPECT_EQ(served_, 2);
  EXPECT_STREQ(agent_session_user(0), "");
}

TEST_F(Requests, AreToldApart) {
  Message one(SNMP_MSG_GET, {kName, kLock});
  Message another(SNMP_MSG_GET);
  const auto number_of = [](Message &message) {
    message.serve(MODE_GET);
    return agent_request_number();
  };
  const long first = number_of(one);
  EXPECT_EQ(number_of(one), first);
  EXPECT_EQ(number_of(another), first + 1);
  another.pdu.transid = 0;
  EXPECT_EQ(number_of(another), first + 2);
  another.pdu.reqid = 0;
  EXPECT_EQ(number_of(another), first + 3);
}

TEST_F(Requests, HaveAUseForSoManyRows) {
  const struct {
    int command;
    size_t bindings;
    int repeat;
    int mode;
    uint32_t rows; ///< 0: each is asked for by itself.
  } cases[] = {
      {SNMP_MSG_GET, 1, 0, MODE_GET, 0},          {SNMP_MSG_GETNEXT, 1, 0, MODE_GETNEXT, 0},
      {SNMP_MSG_GETNEXT, 3, 0, MODE_GETNEXT, 3},  {SNMP_MSG_GETBULK, 1, 0, MODE_GETNEXT, 1},
      {SNMP_MSG_GETBULK, 1, 9, MODE_GETNEXT, 10}, {SNMP_MSG_GETBULK, 2, 9, MODE_GETNEXT, 10},
      {SNMP_MSG_SET, 2, 0, MODE_SET_ACTION, 0}};
  EXPECT_EQ(agent_request_row_use().request, -1);
  for (const auto &c : cases) {
    Message message(c.command, std::vector(c.bindings, kName));
    message.requests.back().repeat = c.repeat;
    if (c.mode == MODE_SET_ACTION) {
      message.serve(MODE_SET_RESERVE1);
    }
    within(
        message,
        [&] {
          const RowUse use = agent_request_row_use();
          EXPECT_EQ(use.rows, std::max(c.rows, 1U));
          EXPECT_EQ(use.request, c.rows == 0 ? -1 : agent_request_number());
        },
        c.mode);
  }
}

TEST_F(Requests, AreOverdueAfterTenTimeOuts) {
  keep_busy(1h); // Behind the reports of other tests.
  settings_for_change().exchange_timeout = 1s;
  EXPECT_FALSE(agent_request_is_overdue());
  Message read(SNMP_MSG_GETNEXT, {{1, 1, 12, 1, 3}, kLock});
  Message another(SNMP_MSG_GET);
  Message write(SNMP_MSG_SET, {{1, 1, 18, 1, 2, 100, 7}});
  const auto overdue = [](Message &message, int mode = MODE_GET) {
    bool is_overdue = false;
    within(
        message, [&] { is_overdue = agent_request_is_overdue(); }, mode);
    return is_overdue;
  };
  EXPECT_FALSE(overdue(read));
  keep_busy(9900ms);
  EXPECT_FALSE(overdue(read));
  keep_busy(200ms);
  EXPECT_TRUE(overdue(read));
  EXPECT_EQ(log(), "fcs: GETNEXT of fcsMgmtAddr by user 'olga' has spent its 10000 ms with the FCS "
                   "service: the rest of it fails\n");
  EXPECT_FALSE(agent_request_is_overdue()) << "outside of a request";
  EXPECT_FALSE(overdue(another));
  keep_busy(49s);
  EXPECT_TRUE(overdue(another));
  EXPECT_EQ(log(), "") << "within a minute";
  write.serve(MODE_SET_RESERVE1);
  keep_busy(12s);
  EXPECT_TRUE(overdue(write, MODE_SET_ACTION));
  EXPECT_THAT(log(), HasSubstr("fcs: SET of fcsPlatformName.100.7 (VSAN 100) by user 'olga'"));
}

TEST_F(Requests, StayOnAProcessorDuringALongSet) {
  const auto processors = [] {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    sched_getaffinity(0, sizeof(allowed), &allowed);
    return CPU_COUNT(&allowed);
  };
  const int before = processors();
  Message read(SNMP_MSG_GET);
  within(read, [] {
    for (int i = 0; i < 20; ++i) {
      EXPECT_EQ(agent_request_processor(), 0U);
    }
  });
  Message set(SNMP_MSG_SET);
  set.serve(MODE_SET_RESERVE1);
  for (const int mode : {MODE_SET_ACTION, MODE_SET_COMMIT}) {
    within(
        set,
        [&] {
          for (int i = 1; i < 16; ++i) {
            EXPECT_EQ(agent_request_processor(), 0U);
          }
          EXPECT_EQ(agent_request_processor(), static_cast<uint32_t>(sched_getcpu() + 1));
          EXPECT_NE(agent_request_processor(), 0U);
          EXPECT_EQ(processors(), 1);
        },
        mode);
    EXPECT_EQ(processors(), before);
  }
  EXPECT_EQ(agent_request_processor(), 0U);
}

TEST_F(Requests, AnswersLieBehindWhatWasAskedFor) {
  const Name column = {1, 1, 11, 1, 3};
  const auto at = [&](std::vector<oid> index) {
    Name name = column;
    name.insert(name.end(), index.begin(), index.end());
    return name;
  };
  const Name none;
  const struct {
    const char *what;
    std::vector<oid> asked;
    std::vector<Name> answers; ///< Of the module, one for each time that it is asked.
    Name asked_again;
    Name answer; ///< To the manager: none when the table ends.
  } cases[] = {
      {"behind", {1, 5}, {at({1, 6})}, {}, at({1, 6})},
      {"the same", {1, 5}, {at({1, 5})}, {}, none},
      {"in front", {1, 5, 7}, {at({1, 5, 6})}, {}, none},
      {"no answer", {1, 300}, {none}, {}, none},
      {"the low octet",
       {1, 300, 9, 9},
       {at({1, 44, 1}), at({2, 1, 1})},
       at({1, 255, 255}),
       at({2, 1, 1})},
      {"far behind",
       {1, 7, 256, 1},
       {at({1, 7, 1, 1}), at({2, 1, 1, 1})},
       at({1, 7, 255, 255}),
       at({2, 1, 1, 1})},
      {"no more behind", {1, 300}, {at({1, 44}), none}, at({1, 255}), none},
      {"in front again", {1, 300}, {at({1, 44}), at({1, 45})}, at({1, 255}), none},
      {"an octet at its most", {1, 255}, {at({1, 44})}, {}, none},
      {"a large first index", {300, 5}, {at({44, 5})}, {}, none},
      {"beyond an instance", {1, 5, 300}, {at({1, 4})}, {}, none},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<Name> asked;
    on_read = [&](Name &name) {
      asked.push_back(name);
      const Name &answer = c.answers.at(asked.size() - 1);
      name = answer.empty() ? name : answer;
      return !answer.empty();
    };
    Message message(SNMP_MSG_GETNEXT, {at(c.asked)});
    EXPECT_EQ(message.serve(MODE_GETNEXT), SNMP_ERR_NOERROR);
    ASSERT_EQ(asked.size(), c.answers.size());
    EXPECT_EQ(asked[0], at(c.asked));
    if (asked.size() == 2) {
      EXPECT_EQ(asked[1], c.asked_again);
    }
    EXPECT_EQ(message.is_answered(), !c.answer.empty());
    EXPECT_EQ(message.name(), c.answer.empty() ? at(c.asked) : c.answer);
  }
}

TEST_F(Requests, BindingsAreAnsweredOneByOne) {
  std::vector<Name> asked;
  on_read = [&](Name &name) {
    asked.push_back(name);
    name.push_back(0);
    return true;
  };
  Message message(SNMP_MSG_GETNEXT, {{1, 1, 2}, {1, 1, 2}, {1, 1, 2, 0}});
  EXPECT_EQ(message.serve(MODE_GETNEXT), SNMP_ERR_NOERROR);
  EXPECT_THAT(asked, ElementsAre(Name{1, 1, 2}, Name{1, 1, 2}, kName));
  EXPECT_EQ(message.name(1), kName);
  EXPECT_EQ(message.name(2), (Name{1, 1, 2, 0, 0}));
}

TEST_F(Requests, IntegersOfASetAreWordsWhileTheModuleHasThem) {
  const struct {
    u_char type;
    long value;
  } cases[] = {{ASN_INTEGER, 1},
               {ASN_INTEGER, -1},
               {ASN_INTEGER, INT32_MIN},
               {ASN_UNSIGNED, static_cast<long>(0xFFFFFFFFU)},
               {ASN_TIMETICKS, static_cast<long>(0x80000000U)},
               {ASN_COUNTER, static_cast<long>(0x80000000U)},
               {ASN_OCTET_STR, 0x01020304}};
  for (const auto &c : cases) {
    Message message(SNMP_MSG_SET, {kLock, kLock});
    message.with(c.type, c.value);
    const netsnmp_variable_list &binding = *message.requests[1].requestvb;
    std::vector<int> phases;
    on_write = [&](int phase, u_char *value, size_t length) {
      if (agent_request_binding() == &binding) {
        phases.push_back(phase);
        const bool is_text = c.type == ASN_OCTET_STR;
        EXPECT_EQ(length, is_text ? sizeof(c.value) : sizeof(int32_t));
        const auto word = static_cast<int32_t>(c.value);
        EXPECT_EQ(memcmp(value, is_text ? static_cast<const void *>(&c.value) : &word, length), 0);
      }
      return phase == ACTION ? SNMP_ERR_GENERR : SNMP_ERR_NOERROR;
    };
    for (const int mode : {MODE_SET_RESERVE1, MODE_SET_RESERVE2, MODE_SET_ACTION, MODE_SET_UNDO}) {
      EXPECT_EQ(message.serve(mode), mode < MODE_SET_ACTION ? SNMP_ERR_NOERROR : SNMP_ERR_GENERR);
      EXPECT_EQ(*binding.val.integer, c.value);
      EXPECT_EQ(binding.val_len, sizeof(c.value));
    }
    EXPECT_THAT(phases, ElementsAre(RESERVE1, RESERVE2, ACTION, UNDO));
    EXPECT_EQ(agent_request_binding(), nullptr);
  }
}

TEST_F(Requests, ARoleKeepsItsUsersFromRowsOfOtherVsans) {
  roles_define("operations 1-100 1-50");
  roles_assign("olga operations");
  const auto refused = [](const char *instance) {
    return std::string("fcs: SET of ") + instance + " by user 'olga' refused: the user's role may" +
           " not write this VSAN (message 0x4049002c)\n";
  };
  const struct {
    Name name;
    int status;
    std::string said;
  } cases[] = {
      {{1, 1, 18, 1, 3, 50, 7}, SNMP_ERR_NOERROR, ""},
      {{1, 1, 18, 1, 3, 51, 7}, SNMP_ERR_GENERR, refused("fcsPlatformType.51.7 (VSAN 51)")},
      {{1, 1, 18, 1, 4, 51, 7},
       SNMP_ERR_GENERR,
       refused("fcsPlatformNodeNameListIndex.51.7 (VSAN 51)")},
      {{1, 1, 18, 1, 5, 51}, SNMP_ERR_GENERR, refused("fcsPlatformMgmtAddrListIndex.51 (VSAN 51)")},
      {{1, 1, 18, 1, 7, 51, 7}, SNMP_ERR_GENERR, refused("fcsPlatformValidation.51.7 (VSAN 51)")},
      {{1, 1, 18, 1, 3}, SNMP_ERR_NOERROR, ""},
      {{1, 1, 18, 1, 9, 51, 7}, SNMP_ERR_NOERROR, ""}, // The module asks the role itself.
      {{1, 1, 2, 0}, SNMP_ERR_NOERROR, ""},
      {{1, 1, 18, 1, 6, 1, 7}, SNMP_ERR_NOTWRITABLE, ""},
  };
  for (const auto &c : cases) {
    int writes = 0;
    on_write = [&](int, u_char *, size_t) { return ++writes, SNMP_ERR_NOERROR; };
    Message message(SNMP_MSG_SET, {c.name});
    EXPECT_EQ(message.with(ASN_INTEGER, 1).serve(MODE_SET_RESERVE1), c.status);
    EXPECT_EQ(log(), c.said);
    message.serve(MODE_SET_FREE);
    EXPECT_EQ(writes, c.status == SNMP_ERR_NOERROR ? 2 : 0);
    roles_reset();
    Message unrestricted(SNMP_MSG_SET, {c.name});
    EXPECT_EQ(unrestricted.with(ASN_INTEGER, 1).serve(MODE_SET_RESERVE1) == SNMP_ERR_NOERROR,
              c.status != SNMP_ERR_NOTWRITABLE);
    roles_define("operations 1-100 1-50");
    roles_assign("olga operations");
  }
}

TEST_F(Requests, FailedWritesAreLoggedWithTheirInstance) {
  Message message(SNMP_MSG_SET, {{1, 1, 18, 1, 2, 1, 7}});
  message.serve(MODE_SET_RESERVE1);
  within(
      message,
      [] {
        agent_log_error(std::make_unique<SetErrorRecord>(SetErrorRecord{{}, 12, "no room"}).get());
        agent_log_set_error(0x40490010, 3);
      },
      MODE_SET_ACTION);
  EXPECT_EQ(log(),
            "fcs: SET of fcsPlatformName.1.7 (VSAN 1) by user 'olga' failed: no room (code 12)\n"
            "fcs: SET of fcsPlatformName.1.7 (VSAN 1) by user 'olga' refused: it names a VSAN"
            " that the user's role may not write (message 0x40490010, 3)\n");
  agent_log_role_error(1);
  EXPECT_THAT(log(), HasSubstr("SET of  by user '' refused"));
}

} // namespace

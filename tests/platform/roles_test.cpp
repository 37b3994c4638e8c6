/** Roles: who sees which VSANs, and what a faulty line does. */
#include "platform/linux/roles/roles.h"

#include "agent.h"
#include "platform/linux/request/agent_request.h"
#include "platform/role.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<int> bits(const VsanBitmap &set) {
  std::vector<int> vsans;
  for (int v = bitmap_first_bit(&set); v >= 0; v = bitmap_next_bit(&set, v)) {
    vsans.push_back(v);
  }
  return vsans;
}

VsanBitmap set_of(const std::vector<int> &vsans) {
  VsanBitmap set{512, {}};
  for (const int vsan : vsans) {
    bitmap_set_bit(&set, vsan);
  }
  return set;
}

/** A request of a user that is being served. */
struct ServedUser {
  explicit ServedUser(const char *user) : message(SNMP_MSG_GET, {{1, 1, 2, 0}}, user) {}

  Message message;
  ServedRequest request{message.info(), message.requests.data()};
};

/** The VSANs of a restricted user; fails the test for an unrestricted one. */
std::vector<int> allowed(const char *user, int access = ROLE_ACCESS_READ) {
  const ServedUser served(user);
  VsanBitmap set{512, {}};
  EXPECT_NE(role_allowed_vsans(&set, nullptr, 0, access), 0);
  return bits(set);
}

using Roles = Agent;

TEST_F(Roles, NoneConfiguredRestrictsNobody) {
  const VsanBitmap list = set_of({4095});
  VsanBitmap set{512, {}};
  for (const char *name : {"anyone", ""}) {
    const ServedUser served(name);
    EXPECT_EQ(role_allowed_vsans(&set, nullptr, 0, ROLE_ACCESS_READ), 0);
    EXPECT_EQ(role_vsan_bitmap_allowed(&list, nullptr, 0, ROLE_ACCESS_WRITE), 1);
    EXPECT_EQ(role_allowed_vsans_from_list(&list, &set, nullptr, 0, ROLE_ACCESS_READ), 0);
    EXPECT_THAT(bits(set), ElementsAre(4095));
  }
  roles_define("ops 1 1");
  const ServedUser nobody("");
  EXPECT_NE(role_allowed_vsans_from_list(&list, &set, nullptr, 0, ROLE_ACCESS_READ), 0)
      << "a user who cannot be told is refused";
}

TEST_F(Roles, GiveReadAndWriteLists) {
  for (const char *line : {"ops 1-3,2100,4095 2", "blind none none", "full all none"}) {
    EXPECT_EQ(roles_define(line), "");
  }
  for (const char *line : {"olga ops", "bert blind", "fay full"}) {
    EXPECT_EQ(roles_assign(line), "");
  }
  EXPECT_THAT(allowed("olga"), ElementsAre(1, 2, 3, 2100, 4095));
  EXPECT_THAT(allowed("olga", ROLE_ACCESS_WRITE), ElementsAre(2));
  EXPECT_THAT(allowed("bert"), IsEmpty());
  EXPECT_THAT(allowed("without a role"), IsEmpty());
  EXPECT_EQ(allowed("fay").size(), 4095U);

  snmp_set_do_debugging(1);
  debug_register_tokens(kRequestToken);
  const ServedUser olga("olga");
  log();
  const VsanBitmap list = set_of({3, 4, 4095});
  VsanBitmap filtered{512, {0xFF}};
  EXPECT_EQ(role_allowed_vsans_from_list(&list, &filtered, nullptr, 0, ROLE_ACCESS_READ), 0);
  EXPECT_THAT(bits(filtered), ElementsAre(3, 4095));
  const VsanBitmap two = set_of({2});
  EXPECT_EQ(role_vsan_bitmap_allowed(&two, nullptr, 0, ROLE_ACCESS_WRITE), 1);
  EXPECT_EQ(role_vsan_bitmap_allowed(&list, nullptr, 0, ROLE_ACCESS_WRITE), 0);
  EXPECT_EQ(log(), "fcs_request: user 'olga', role 'ops': reads VSANs 1-3,2100,4095, writes 2\n")
      << "once for a request";
  debug_disable_token_logs(kRequestToken);
  snmp_set_do_debugging(0);
}

TEST_F(Roles, FaultyLinesSayWhyAndRefuse) {
  const std::string expected = "expected NAME READ-LIST WRITE-LIST";
  for (const auto &[line, item] : {std::pair("", ""),
                                   {"ops 1-3", ""},
                                   {"ops 1 2 3", ""},
                                   {"ops 0 1", "0"},
                                   {"ops 1 2,4096", "4096"},
                                   {"ops 5-1 1", "5-1"},
                                   {"ops 1- 1", "1-"},
                                   {"ops 1,,2 1", ""},
                                   {"ops 1x 1", "1x"}}) {
    roles_reset();
    const std::string fault = roles_define(line);
    EXPECT_TRUE(fault == expected || fault.ends_with("': '" + std::string(item) +
                                                     "' is not a VSAN or"
                                                     " an ascending range within 1 to 4095"))
        << fault;
    roles_assign("olga ops");
    EXPECT_THAT(allowed("olga"), IsEmpty()) << line;
  }
  EXPECT_EQ(roles_define("more 1, 1"), "VSAN list '1,': ends with a comma");
  roles_reset();
  EXPECT_EQ(roles_assign("olga"), "expected SECURITY-NAME ROLE");
  EXPECT_EQ(roles_assign("olga ops"), "role 'ops' is not defined above this line");
  EXPECT_THAT(allowed("olga"), IsEmpty());
  roles_define("ops 1 1");
  roles_define("more 2 2");
  roles_assign("olga ops");
  roles_assign("mona more");
  EXPECT_THAT(allowed("olga"), ElementsAre(1));
  EXPECT_EQ(roles_define("ops all all"), "role 'ops' is defined already");
  EXPECT_THAT(allowed("olga"), IsEmpty());
  EXPECT_EQ(roles_assign("mona ops"), "user 'mona' has a role already");
  EXPECT_THAT(allowed("mona"), IsEmpty());
}

TEST_F(Roles, VsansOfASet) {
  const VsanBitmap set = set_of({1, 100, 4095});
  for (const uint32_t vsan : {0U, 2U, 4096U, 0xFFFFFFFFU}) {
    EXPECT_EQ(role_vsan_allowed(vsan, set), 0);
  }
  EXPECT_NE(role_vsan_allowed(4095, set), 0);
  uint32_t vsan = 0;
  for (const uint32_t next : {1U, 100U, 4095U}) {
    EXPECT_EQ(role_next_allowed_vsan(&vsan, set), 1);
    EXPECT_EQ(vsan, next);
  }
  for (uint32_t beyond : {4095U, 4096U, 0xFFFFFFFFU}) {
    const uint32_t before = beyond;
    EXPECT_EQ(role_next_allowed_vsan(&beyond, set), 0);
    EXPECT_EQ(beyond, before);
  }
}

} // namespace

/** Roles: who sees which VSANs, and what a faulty line does. */
#include "platform/linux/roles/roles.h"

#include "platform/agent_host.h"
#include "platform/linux/request/agent_request.h"
#include "platform/role.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

static std::string user;

const char *agent_session_user(int /*request*/) {
  return user.c_str();
}

long agent_request_number() {
  return 1;
}

namespace {

std::vector<int> bits(const VsanBitmap &set) {
  std::vector<int> vsans;
  for (int v = bitmap_first_bit(&set); v >= 0; v = bitmap_next_bit(&set, v)) {
    vsans.push_back(v);
  }
  return vsans;
}

/** The VSANs of a restricted user; fails the test for an unrestricted one. */
std::vector<int> allowed(const std::string &name, int access) {
  user = name;
  VsanBitmap set{512, {}};
  EXPECT_NE(role_allowed_vsans(&set, nullptr, 0, access), 0);
  return bits(set);
}

class Roles : public testing::Test {
protected:
  void SetUp() override { roles_reset(); }
};

TEST_F(Roles, NoneConfiguredRestrictsNobody) {
  user = "anyone";
  VsanBitmap set{512, {}};
  EXPECT_EQ(role_allowed_vsans(&set, nullptr, 0, ROLE_ACCESS_READ), 0);
  VsanBitmap list{512, {}};
  bitmap_set_bit(&list, 4095);
  for (const char *name : {"anyone", ""}) {
    user = name;
    EXPECT_EQ(role_allowed_vsans_from_list(&list, &set, nullptr, 0, ROLE_ACCESS_READ), 0);
    EXPECT_THAT(bits(set), ElementsAre(4095));
  }
  roles_define("ops 1 1");
  EXPECT_NE(role_allowed_vsans_from_list(&list, &set, nullptr, 0, ROLE_ACCESS_READ), 0)
      << "a user who cannot be told is refused";
}

TEST_F(Roles, GiveReadAndWriteLists) {
  EXPECT_EQ(roles_define("ops 1-3,2100,4095 2"), "");
  EXPECT_EQ(roles_define("blind none none"), "");
  EXPECT_EQ(roles_define("full all none"), "");
  EXPECT_EQ(roles_assign("olga ops"), "");
  EXPECT_EQ(roles_assign("bert blind"), "");
  EXPECT_EQ(roles_assign("fay full"), "");
  EXPECT_THAT(allowed("olga", ROLE_ACCESS_READ), ElementsAre(1, 2, 3, 2100, 4095));
  EXPECT_THAT(allowed("olga", ROLE_ACCESS_WRITE), ElementsAre(2));
  EXPECT_THAT(allowed("bert", ROLE_ACCESS_READ), IsEmpty());
  EXPECT_THAT(allowed("without a role", ROLE_ACCESS_READ), IsEmpty());
  EXPECT_EQ(allowed("fay", ROLE_ACCESS_READ).size(), 4095U);
  user = "olga";
  VsanBitmap list{512, {}};
  VsanBitmap filtered{512, {0xFF}};
  for (const int vsan : {3, 4, 4095}) {
    bitmap_set_bit(&list, vsan);
  }
  EXPECT_EQ(role_allowed_vsans_from_list(&list, &filtered, nullptr, 0, ROLE_ACCESS_READ), 0);
  EXPECT_THAT(bits(filtered), ElementsAre(3, 4095));
}

TEST_F(Roles, FaultyLinesSayWhyAndRefuse) {
  const struct {
    const char *line;
    const char *fault;
  } cases[] = {
      {"", "expected NAME READ-LIST WRITE-LIST"},
      {"ops 1-3", "expected NAME READ-LIST WRITE-LIST"},
      {"ops 1 2 3", "expected NAME READ-LIST WRITE-LIST"},
      {"ops 0 1", "VSAN list '0': '0' is not a VSAN or an ascending range within 1 to 4095"},
      {"ops 1 2,4096",
       "VSAN list '2,4096': '4096' is not a VSAN or an ascending range within 1 to 4095"},
      {"ops 5-1 1", "VSAN list '5-1': '5-1' is not a VSAN or an ascending range within 1 to 4095"},
      {"ops 1- 1", "VSAN list '1-': '1-' is not a VSAN or an ascending range within 1 to 4095"},
      {"ops 1,,2 1", "VSAN list '1,,2': '' is not a VSAN or an ascending range within 1 to 4095"},
      {"ops 1, 1", "VSAN list '1,': ends with a comma"},
      {"ops 1x 1", "VSAN list '1x': '1x' is not a VSAN or an ascending range within 1 to 4095"},
  };
  for (const auto &c : cases) {
    roles_reset();
    EXPECT_EQ(roles_define(c.line), c.fault);
    roles_assign("olga ops");
    EXPECT_THAT(allowed("olga", ROLE_ACCESS_READ), IsEmpty()) << c.line;
  }
  roles_reset();
  EXPECT_EQ(roles_assign("olga ops"), "role 'ops' is not defined above this line");
  EXPECT_THAT(allowed("olga", ROLE_ACCESS_READ), IsEmpty());
  roles_define("ops 1 1");
  roles_define("more 2 2");
  roles_assign("olga ops");
  roles_assign("mona more");
  EXPECT_THAT(allowed("olga", ROLE_ACCESS_READ), ElementsAre(1));
  EXPECT_EQ(roles_define("ops all all"), "role 'ops' is defined already");
  EXPECT_THAT(allowed("olga", ROLE_ACCESS_READ), IsEmpty());
  EXPECT_EQ(roles_assign("mona ops"), "user 'mona' has a role already");
  EXPECT_THAT(allowed("mona", ROLE_ACCESS_READ), IsEmpty());
}

TEST_F(Roles, VsansOfASet) {
  VsanBitmap set{512, {}};
  for (const int vsan : {1, 100, 4095}) {
    bitmap_set_bit(&set, vsan);
  }
  for (const uint32_t vsan : {0U, 2U, 4096U, 0xFFFFFFFFU}) {
    EXPECT_EQ(role_vsan_allowed(vsan, set), 0);
  }
  EXPECT_NE(role_vsan_allowed(4095, set), 0);
  uint32_t vsan = 0;
  std::vector<uint32_t> walked;
  while (role_next_allowed_vsan(&vsan, set) != 0) {
    walked.push_back(vsan);
  }
  EXPECT_THAT(walked, ElementsAre(1, 100, 4095));
  for (uint32_t beyond : {4095U, 4096U, 0xFFFFFFFFU}) {
    const uint32_t before = beyond;
    EXPECT_EQ(role_next_allowed_vsan(&beyond, set), 0);
    EXPECT_EQ(beyond, before);
  }
}

} // namespace

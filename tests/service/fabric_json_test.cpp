#include "fixtures.h"

namespace {

using FabricJson = ServedStore;

/** A description with its fault. The functions add what stands around a part and its place. */
using Case = std::pair<std::string, std::string>;

Case vsan(const std::string &members, const std::string &fault) {
  return {R"({"vsans":[{"id":1,)" + members + "}]}", "vsans[0]" + fault};
}
Case element(const std::string &members, const std::string &fault) {
  return vsan(R"("elements":[{"name":"2001020304050607","type":"hub",)" + members + "}]",
              ".elements[0]" + fault);
}
Case port(const std::string &members, const std::string &fault) {
  return element(R"("portList":1,"ports":[{"name":"2101020304050607","type":1,)" + members + "}]",
                 ".ports[0]" + fault);
}
Case second_element(const std::string &first, const std::string &second, const std::string &fault) {
  return vsan(R"("elements":[{"name":"20:01:02:03:04:05:06:07","type":1)" + first +
                  R"(},{"name":"2001020304050608","type":1)" + second + "}]",
              ".elements[1]" + fault);
}

TEST_F(FabricJson, RefusesFaultyDescriptionsWithTheirPlace) {
  std::string a_million;
  for (int i = 0; i < 1'000'000; ++i) {
    a_million += "0,";
  }
  const Case kCases[] = {
      {"", "line 1, column 1: syntax error while parsing value - unexpected end of input; expected "
           "'[', '{', or a literal"},
      {"{\n  \"vsans\": [\n    {]\n}", "line 3, column 6: syntax error while parsing object key - "
                                       "unexpected ']'; expected string literal"},
      {"{\"vsans\":[]} x", "line 1, column 14: syntax error while parsing value - invalid literal; "
                           "last read: '\"vsans\":[]} x'; expected end of input"},
      {"[]", "the document must be an object"},
      {"{}", "the member \"vsans\" is missing"},
      {R"({"vsans":{}})", "vsans: must be an array"},
      {R"({"vsans":[],"comment":[]})", "comment: must be a string"},
      {R"({"vsans":[],"ports":[]})", "ports: unknown member"},
      {R"({"vsans":[],"vsans":[]})", "vsans: member given twice"},
      {R"({"vsans":[{"id":[2,1e999]}]})", "vsans[0].id[1]: number overflow parsing '1e999'"},
      {R"({"vsans":[[[[[[[[[[[[[[[[[[]]]]]]]]]]]]]]]]]]})",
       "vsans[0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0]: nested too deeply"},
      {R"({"vsans":[7]})", "vsans[0]: must be an object, not 7"},
      {R"({"vsans":[{}]})", "vsans[0]: the member \"id\" is missing"},
      {R"({"vsans":[{"id":1},{"id":1}]})", "vsans[1].id: another VSAN has this id"},
      vsan(R"("line\nbreak":2)", "[\"line\\nbreak\"]: unknown member"),
      vsan(R"("elements":{})", ".elements: must be an array, not an object"),
      vsan(R"("elements":[)" + a_million + "0]",
           ".elements[999997]: more than 1000000 values within vsans[0]"),
      element(R"("mgmtId":"fffc01","ports":[],"mgmtId":"fffc01")", ".mgmtId: member given twice"),
      // Numbers, words and flags.
      {R"({"vsans":[{"id":4097}]})", "vsans[0].id: 4097 is not within 1 to 4096"},
      {R"({"vsans":[{"id":-1}]})", "vsans[0].id: -1 is not within 1 to 4096"},
      {R"({"vsans":[{"id":1.5}]})", "vsans[0].id: must be a whole number, not 1.5"},
      {R"({"vsans":[{"id":"1"}]})", "vsans[0].id: must be a number, not \"1\""},
      vsan(R"("statistics":{"rejects":4294967296})",
           ".statistics.rejects: 4294967296 is not within 0 to 4294967295"),
      vsan(R"("discovery":{"status":"done"})",
           ".discovery.status: \"done\" is none of inProgress, completed, localOnly"),
      vsan(R"("discovery":{"status":"completed","completed":{"seconds":1,"microseconds":1000000}})",
           ".discovery.completed.microseconds: 1000000 is not within 0 to 999999"),
      vsan(R"("discovery":{"status":"completed","takesSeconds":-0.5})",
           ".discovery.takesSeconds: -0.5 is not within 0.0 to 86400.0"),
      element(R"("local":1)", ".local: must be true or false, not 1"),
      element(R"("domainId":300)", ".domainId: 300 is not within 1 to 239"),
      port(R"("state":"up")", ".state: \"up\" is none of unknown, online, offline, testing, fault"),
      port(R"("state":null)", ".state: must be a string or a number, not null"),
      // Octets.
      element(R"("fabricName":"20:01-02:03:04:05:06:07")",
              ".fabricName: \"20:01-02:03:04:05:06:07\" is not 8 octets in hexadecimal"),
      element(R"("mgmtId":"fffcg1")", ".mgmtId: \"fffcg1\" is not 3 octets in hexadecimal"),
      element(R"("logicalName":")" + std::string(256, 'x') + "\"",
              ".logicalName: 256 octets are more than 255"),
      element(R"("logicalName":{"hex":"abc"})",
              ".logicalName.hex: \"abc\" is not a string of hexadecimal octets"),
      // What may stand only once.
      second_element(R"(,"local":true)", R"(,"local":true)",
                     ".local: the VSAN has another local element"),
      second_element(R"(,"portList":3)", R"(,"portList":3)",
                     ".portList: another element has this port list"),
      element(R"("portList":1,"ports":[{"name":"2101020304050607","type":1},)"
              R"({"name":"21:01:02:03:04:05:06:07","type":1}])",
              ".ports[1].name: another port of this VSAN has this name"),
      port(R"("attachedList":1,"attached":["000102030405060708090a0b","000102030405060708090a0b"])",
           ".attached[1]: the list has this name twice"),
      vsan(R"("platforms":[{"index":1,"name":"a","type":1},{"index":1,"name":"b","type":1}])",
           ".platforms[1].index: another platform of this VSAN has this index"),
      vsan(R"("platforms":[{"index":1,"name":"a","type":1},{"index":2,"name":"a","type":1}])",
           ".platforms[1].name: another platform of this VSAN has this name"),
      vsan(R"("elements":[{"name":"2001020304050607","type":1},)"
           R"({"name":"2001020304050607","type":2}])",
           ".elements[1].name: another element of this VSAN has this name"),
      {R"({"vsans":[],"nodeNameLists":[{"index":1},{"index":1}]})",
       "nodeNameLists[1].index: another list has this index"},
      {R"({"vsans":[],"nodeNameLists":[{"index":1,"names":["0102030405060708"]},)"
       R"({"index":2,"names":["0102030405060709","0102030405060708"]}]})",
       "nodeNameLists[1].names[1]: this node name is listed already"},
      {R"({"vsans":[],"mgmtAddrLists":[{"index":1,"addresses":[{"index":1,"address":""},)"
       R"({"index":1,"address":"x"}]}]})",
       "mgmtAddrLists[0].addresses[1].index: another address of this list has this index"},
      // References.
      element(R"("ports":[{"name":"2101020304050607","type":1}])",
              ".ports[0]: the element has no \"portList\" to hold its ports"),
      port(R"("attached":["000102030405060708090a0b"])",
           ".attached[0]: the port has no \"attachedList\" to hold its attached port names"),
      vsan(R"("platforms":[{"index":1,"name":"a","type":"host","nodeNameList":5}])",
           ".platforms[0].nodeNameList: there is no list 5 in nodeNameLists"),
      element(R"("mgmtAddrList":5)", ".mgmtAddrList: there is no list 5 in mgmtAddrLists"),
  };
  ASSERT_EQ(import_text(store_, vsan(R"("statistics":{"rejects":9})", "").first), "");
  const std::string before = export_text(store_);
  for (const auto &[description, fault] : kCases) {
    EXPECT_EQ(import_text(store_, description), "x.json: " + fault);
    EXPECT_EQ(export_text(store_), before) << fault;
  }
}

TEST_F(FabricJson, SampleSurvivesARoundTripUnchanged) {
  ASSERT_EQ(import_text(store_, content(SAMPLE_FABRIC)), "");
  EXPECT_EQ(export_text(store_), content(SAMPLE_FABRIC));
}

TEST_F(FabricJson, OddValuesSurviveARoundTrip) {
  const std::string description =
      R"({"mgmtAddrLists":[{"index":2147483647,"addresses":[{"address":{"hex":"ff:00"},"index":9,)"
      R"("configured":true}]}],"vsans":[{"platforms":[{"type":3,"name":"","index":2},)"
      R"({"type":4294967295,"name":"\u0000\u20ac\"","index":1,"mgmtAddrList":2147483647,)"
      R"("nodeNameList":6}],"id":4096,"elements":[{"infoList":{"hex":"80000000"},"type":99,)"
      R"("name":"FF:FF:FF:FF:FF:FF:FF:FF","logicalName":{"hex":"c3"},"portList":8,"ports":)"
      R"([{"name":"0000000000000000","type":255,"txType":4294967295,"state":77,"attachedList":1}])"
      R"(}],"discovery":{"status":"inProgress","takesSeconds":0.1}}],)"
      R"("nodeNameLists":[{"names":[],"index":6}],"comment":"line\nbreak"})";
  ASSERT_EQ(import_text(store_, description), "");
  const std::string text = export_text(store_);
  for (const char *part :
       {R"("address": {"hex": "ff00"})", R"("name": "\u0000€\"", "type": 4294967295)",
        R"("infoList": {"hex": "80"})", R"("type": 255, "txType": 4294967295)", R"("state": 77)",
        R"("takesSeconds": 0.1)", R"({"index": 6, "names": []})", R"("comment": "line\nbreak")",
        R"("name": "ff:ff:ff:ff:ff:ff:ff:ff")", R"("logicalName": {"hex": "c3"})",
        R"({"index": 2, "name": "", "type": 3, )"}) {
    EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
  }
  ASSERT_EQ(import_text(store_, text), "");
  EXPECT_EQ(export_text(store_), text);
}

} // namespace

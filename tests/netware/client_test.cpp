// The operations of both client stacks: what each sends, and what it makes of the answer.
#include "core/platform_flags.h"
#include "lang/exception.h"
#include "lang/ref.h"
#include "lang/string.h"
#include "netware/microsoft_stack.h"
#include "netware/novell_stack.h"
#include "netware/pretend_server.h"
#include "netware/unicode_check.h"
#include "support/network_drive.h"
#include "support/self_process.h"
#include "util/rw_buffer.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace zv::netware {
namespace {

using ZVCL::CZvString;
using ZVCL::ZvRef;

constexpr ResultCode kFail = core::kFail;

class Clients : public testing::Test {
protected:
    // A connection that the server's script allows; what came before is not in the record.
    template <typename Client>
    ZvRef<INWServerConnection> connect() {
        server.play("");
        const auto client = ZVCL::makeRef<Client>();
        INWServerConnection* connection = nullptr;
        EXPECT_EQ(client->Connect(u"SRV", &connection), core::kOk);
        return ZvRef<INWServerConnection>::adopt(connection);
    }

    test::ScratchFolder folder;
    test::PretendServer server;
};

// For the time of a test the system is one outside the NT family.
class OtherPlatform {
public:
    OtherPlatform() { core::g_bPlatformNT = 0; }
    ~OtherPlatform() { core::g_bPlatformNT = 1; }
};

struct Answers {
    CZvString name;
    std::uint32_t number = 0xDDDDDDDD;
    std::uint16_t type = 0;
    std::uint32_t id = 0;
    SYSTEMTIME time{};
    std::uint32_t version[3] = {};
};

using Operation = std::function<ResultCode(INWServerConnection&, Answers&)>;

ResultCode loadModule(INWServerConnection& server, Answers&) {
    return server.LoadNLM(u"module -with=x and what makes forty: 123");
}
ResultCode executeFile(INWServerConnection& server, Answers&) {
    return server.ExecuteNCF(u"sys:a.ncf");
}
ResultCode volumeName(INWServerConnection& server, Answers& answers) {
    return server.GetVolumeName(0x102, &answers.name);
}
ResultCode connectionNumber(INWServerConnection& server, Answers& answers) {
    return server.GetConnectionNumber(&answers.number);
}
ResultCode consolePrivileges(INWServerConnection& server, Answers&) {
    return server.CheckConsolePrivileges();
}
ResultCode connectionInformation(INWServerConnection& server, Answers& answers) {
    return server.GetConnectionInformation(0x01020304, &answers.name, &answers.type, &answers.id,
                                           &answers.time);
}
ResultCode serverVersion(INWServerConnection& server, Answers& answers) {
    return server.GetFileServerVersion(&answers.version[0], &answers.version[1],
                                       &answers.version[2]);
}

struct Row {
    ResultCode (*operation)(INWServerConnection&, Answers&);
    const char* script;
    ResultCode code;
    const char* record;
};

// Text goes out and comes in by the default converter.
std::string narrow(const char16_t* text) {
    return CZvString(text).toNarrow();
}

void ask(test::PretendServer& server, INWServerConnection& connection, const Row& row) {
    SCOPED_TRACE(std::string(row.record) + row.script);
    server.play(row.script);
    Answers answers;
    EXPECT_EQ(row.operation(connection, answers), row.code);
    EXPECT_EQ(server.recorded(), row.record);
}

// The bytes of the command line and of the file name.
#define COMMAND                                                                                    \
    "6D6F64756C65202D776974683D7820616E64207768"                                                   \
    "6174206D616B657320666F7274793A2031323300"
#define FILE_NAME "7379733A612E6E636600"
#define ZEROS_16 "00000000000000000000000000000000"

TEST_F(Clients, MicrosoftSendsItsRequests) {
    const auto connection = connect<CMsNWClient>();
    const Row rows[] = {
        {loadModule, "", 0,
         "ncp 0x11223344 0x14120F 62 20 bd_c|d_ 0100000000" ZEROS_16 COMMAND "\n"},
        {executeFile, "", 0,
         "ncp 0x11223344 0x14120F 31 20 b_c|d_ 07" ZEROS_16 "00000000" FILE_NAME "\n"},
        {volumeName, "", 0, "ncp 0x11223344 0x14105B 2 34 bb|p 0602\n"},
        {connectionNumber, "", 0, "ncp 0x11223344 0x14104F 0 3 |wb \n"},
        {consolePrivileges, "", 0, "ncp 0x11223344 0x14105F 1 0 b| C8\n"},
        {connectionInformation, "", 0, "ncp 0x11223344 0x14105F 5 62 bd|dwrr 1C04030201\n"},
        {serverVersion, "", 0, "ncp 0x11223344 0x14105F 1 128 b|r 11\n"},
    };
    for (const Row& row : rows)
        ask(server, *connection, row);
}

TEST_F(Clients, MicrosoftSendsTwoBytesMoreOutsideTheNtFamily) {
    const OtherPlatform other;
    auto connection = connect<CMsNWClient>();
    const Row rows[] = {
        // Their function has no control code there; nothing is sent, the second time neither.
        {loadModule, "", kFunctionOutOfRange, ""},
        {loadModule, "", kFunctionOutOfRange, ""},
        {executeFile, "", kFunctionOutOfRange, ""},
        {executeFile, "", kFunctionOutOfRange, ""},
        {volumeName, "", 0, "ncp handle 0xE2 4 36 bb|p 0602\n"},
        {connectionNumber, "", 0, "ncp handle 0xDF 2 5 |wb \n"},
        {consolePrivileges, "", 0, "ncp handle 0xE3 3 2 b| C8\n"},
        {connectionInformation, "", 0, "ncp handle 0xE3 7 64 bd|dwrr 1C04030201\n"},
        {serverVersion, "", 0, "ncp handle 0xE3 3 130 b|r 11\n"},
    };
    for (const Row& row : rows)
        ask(server, *connection, row);
    server.play("");
    connection.reset(); // and is left attached
    EXPECT_EQ(server.recorded(), "-nwapi32\n");
}

TEST_F(Clients, MicrosoftFailuresHaveTheirCodes) {
    const auto connection = connect<CMsNWClient>();
    const struct {
        ResultCode (*operation)(INWServerConnection&, Answers&);
        const char* script;
        ResultCode code;
    } rows[] = {
        {loadModule, "ncp 0x1=5", kFail},
        {loadModule, "completion=0x0202", kModuleRefused},
        {loadModule, "completion=0x897C", kFail},
        {loadModule, "completion=1", kFail},
        {loadModule, "reply=0202", kModuleRefused},
        {executeFile, "ncp 0x7=5", kFail},
        {executeFile, "completion=0x0202", kFail},
        {volumeName, "ncp 0x6=5", kFail},
        {connectionNumber, "ncp none=5", kFail},
        {consolePrivileges, "ncp 0xC8=5", kNoConsoleRights},
        {connectionInformation, "ncp 0x1C=5", kFail},
        {serverVersion, "ncp 0x11=5", kFail},
    };
    for (const auto& row : rows) {
        server.play(row.script);
        Answers answers;
        EXPECT_EQ(row.operation(*connection, answers), row.code) << row.script;
        EXPECT_EQ(answers.name.view(), u"");
    }
}

TEST_F(Clients, NovellCallsItsFunctions) {
    const auto connection = connect<CNovellNWClient>();
    const std::string load = "NWSMLoadNLM module -with=x and what makes forty: 123\n";
    const Row rows[] = {
        {loadModule, "", 0, load.c_str()},
        {loadModule, "NWSMLoadNLM=0x202", kModuleRefused, load.c_str()},
        {loadModule, "NWSMLoadNLM=0x897C", kNoConsoleRights, load.c_str()},
        {loadModule, "NWSMLoadNLM=0x8901", kFail, load.c_str()},
        {executeFile, "", 0, "NWSMExecuteNCFFile sys:a.ncf\n"},
        {executeFile, "NWSMExecuteNCFFile=0x202", kFail, "NWSMExecuteNCFFile sys:a.ncf\n"},
        {volumeName, "", 0, "NWGetVolumeName 258\n"},
        {volumeName, "NWGetVolumeName=1", kFail, "NWGetVolumeName 258\n"},
        {connectionNumber, "", 0, "NWCCGetConnInfo 0x5566 5 4\n"},
        {connectionNumber, "NWCCGetConnInfo=1", kFail, "NWCCGetConnInfo 0x5566 5 4\n"},
        {consolePrivileges, "", 0, "NWCheckConsolePrivileges\n"},
        {consolePrivileges, "NWCheckConsolePrivileges=1", kNoConsoleRights,
         "NWCheckConsolePrivileges\n"},
        {connectionInformation, "", 0, "NWGetConnectionInformation 16909060\n"},
        {connectionInformation, "NWGetConnectionInformation=1", kFail,
         "NWGetConnectionInformation 16909060\n"},
        {serverVersion, "", 0, "NWGetFileServerVersionInfo\n"},
        {serverVersion, "NWGetFileServerVersionInfo=1", kFail, "NWGetFileServerVersionInfo\n"},
    };
    for (const Row& row : rows)
        ask(server, *connection, row);
}

void expectLoginTime(const SYSTEMTIME& time) {
    const WORD fields[] = {time.wYear,   time.wMonth,  time.wDay,       time.wHour,
                           time.wMinute, time.wSecond, time.wDayOfWeek, time.wMilliseconds};
    const WORD expected[] = {2003, 10, 29, 9, 18, 56, 3, 0};
    EXPECT_TRUE(std::equal(std::begin(fields), std::end(fields), std::begin(expected)));
}

void expectAnswers(INWServerConnection& connection, std::uint32_t number) {
    Answers answers;
    EXPECT_EQ(serverVersion(connection, answers), core::kOk);
    EXPECT_EQ(answers.version[0], 4u);
    EXPECT_EQ(answers.version[1], 255u);
    EXPECT_EQ(answers.version[2], 3u);
    EXPECT_EQ(connectionNumber(connection, answers), core::kOk);
    EXPECT_EQ(answers.number, number);
    EXPECT_EQ(connection.ReservedOperation(1, 2), core::kNotImplemented);

    // A buffer that is no string gets the characters, and a zero behind them.
    const auto buffer = ZVCL::makeRef<ZVCL::CZvRWCharBuffer>();
    EXPECT_EQ(connection.GetVolumeName(0, buffer.get()), core::kOk);
    EXPECT_EQ(std::u16string(buffer->getBuffer()), u"VOL1");
    EXPECT_EQ(buffer->getLength(), 4);

    EXPECT_EQ(connection.GetVolumeName(0, nullptr), core::kPointer);
    EXPECT_EQ(connection.GetConnectionNumber(nullptr), core::kPointer);
    EXPECT_EQ(connection.GetFileServerVersion(&answers.number, nullptr, &answers.number),
              core::kPointer);
    EXPECT_EQ(
        connection.GetConnectionInformation(1, nullptr, &answers.type, &answers.id, &answers.time),
        core::kPointer);
    EXPECT_EQ(connection.LoadNLM(nullptr), core::kOk); // the empty command line
}

TEST_F(Clients, AnswersAreTakenApart) {
    const auto microsoft = connect<CMsNWClient>();
    server.play("version=4.255.3\nname=VOL1");
    expectAnswers(*microsoft, 0);
    server.play("reply=FFFF07");
    Answers answers;
    EXPECT_EQ(connectionNumber(*microsoft, answers), core::kOk);
    EXPECT_EQ(answers.number, 7u);
    server.play("reply=010203040104" + [] {
        std::string name = "47554553540047"; // "GUEST", and what stands behind its zero
        return name + std::string(2 * 48 - name.size(), '0') + "670A1D09123803";
    }());
    EXPECT_EQ(connectionInformation(*microsoft, answers), core::kOk);
    EXPECT_EQ(answers.name.view(), u"GUEST");
    EXPECT_EQ(answers.id, 0x01020304u);
    EXPECT_EQ(answers.type, 0x0104u);
    expectLoginTime(answers.time);

    const auto novell = connect<CNovellNWClient>();
    server.play("version=4.255.3\nname=VOL1");
    expectAnswers(*novell, 0x123);
    Answers others;
    EXPECT_EQ(connectionInformation(*novell, others), core::kOk);
    EXPECT_EQ(others.name.view(), u"VOL1");
    EXPECT_EQ(others.id, 0x01020304u);
    EXPECT_EQ(others.type, 0x0104u);
    expectLoginTime(others.time);
}

TEST_F(Clients, TextGoesThroughTheDefaultConverter) {
    const char16_t text[] = u"\u00C4\u00DF";
    const auto connection = connect<CNovellNWClient>();
    server.play("name=" + narrow(text));
    Answers answers;
    EXPECT_EQ(volumeName(*connection, answers), core::kOk);
    EXPECT_EQ(narrow(answers.name.getBuffer()), narrow(text));
    EXPECT_EQ(connection->ExecuteNCF(text), core::kOk);
    EXPECT_TRUE(server.recorded().ends_with("NWSMExecuteNCFFile " + narrow(text) + '\n'));
}

TEST_F(Clients, NamesThatFillTheirBuffersEndThere) {
    const std::string script = "name=" + std::string(200, 'n');
    const auto microsoft = connect<CMsNWClient>();
    const auto novell = connect<CNovellNWClient>();
    server.play(script);
    Answers answers;
    EXPECT_EQ(volumeName(*microsoft, answers), core::kOk);
    EXPECT_EQ(answers.name.view(), std::u16string(36, u'n'));
    EXPECT_EQ(volumeName(*novell, answers), core::kOk);
    EXPECT_EQ(answers.name.view(), std::u16string(20, u'n'));
    EXPECT_EQ(connectionInformation(*novell, answers), core::kOk);
    EXPECT_EQ(answers.name.view(), std::u16string(48, u'n'));
    server.play("reply=" + std::string(2 * 128, '6')); // 0x66 is "f"
    EXPECT_EQ(connectionInformation(*microsoft, answers), core::kOk);
    EXPECT_EQ(answers.name.view(), std::u16string(48, u'f'));
}

TEST_F(Clients, ConnectionsOutliveTheirClients) {
    server.play("");
    auto connection = connect<CMsNWClient>();
    EXPECT_EQ(server.recorded(), "+nwapi32\nattach SRV 0\n");
    connection.reset();
    EXPECT_EQ(server.recorded(), "+nwapi32\nattach SRV 0\ndetach\n-nwapi32\n");

    const std::string begin = "+calwin32\n+clxwin32\nNWCallsInit\nNWCallsInit\n"
                              "NWAttachToFileServer SRV 0\nNWCCGetConnRef 0x5566\nNWCallsTerm\n";
    connection = connect<CNovellNWClient>();
    EXPECT_EQ(server.recorded(), begin);
    connection.reset();
    EXPECT_EQ(server.recorded(), begin + "NWCallsTerm\n-clxwin32\n-calwin32\n");
}

TEST_F(Clients, HaveTheirTwoInterfaces) {
    const auto client = ZVCL::makeRef<CMsNWClient>();
    const auto connection = connect<CMsNWClient>();
    void* found = nullptr;
    EXPECT_EQ(connection->QueryInterface(INWServerConnection::kIid, &found), core::kOk);
    EXPECT_EQ(found, connection.get());
    EXPECT_EQ(connection->Release(), 1u);
    EXPECT_EQ(connection->QueryInterface(INWClient::kIid, &found), core::kNoInterface);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(client->QueryInterface(INWClient::kIid, &found), core::kOk);
    EXPECT_EQ(client->Release(), 1u);
    EXPECT_EQ(client->Connect(u"SRV", nullptr), core::kPointer);
}

TEST_F(Clients, FailuresToAttachGiveEverythingBack) {
    struct {
        const char* script;
        bool novell;
        ResultCode code;
    } const rows[] = {
        {"attach=1", false, kFail},
        {"null=1", false, kFail}, // a stack that is wrong
        {"NWAttachToFileServer=0x8847", true, kFail},
        {"NWAttachToFileServer=0x8800", true, core::kOk}, // attached already
        {"NWCCGetConnRef=1", true, kFail},
    };
    for (const auto& row : rows) {
        server.play(row.script);
        ZvRef<INWClient> client;
        if (row.novell)
            client = ZVCL::makeRef<CNovellNWClient>();
        else
            client = ZVCL::makeRef<CMsNWClient>();
        auto* connection = reinterpret_cast<INWServerConnection*>(1);
        EXPECT_EQ(client->Connect(u"SRV", &connection), row.code) << row.script;
        EXPECT_EQ(connection != nullptr, row.code >= 0);
        if (connection != nullptr)
            connection->Release();
        client.reset();
        const std::string record = server.recorded();
        EXPECT_TRUE(
            record.ends_with(row.novell ? "NWCallsTerm\n-clxwin32\n-calwin32\n" : "-nwapi32\n"))
            << record;
    }
    server.play("NWCallsInit=1");
    try {
        (void)ZVCL::makeRef<CNovellNWClient>();
        ADD_FAILURE() << "created";
    } catch (ZVCL::EZvException& exception) {
        EXPECT_EQ(exception.getMessage().view(), u"NWCallsInit() failed.");
        EXPECT_EQ(exception.getResult(), kFail);
    }
    EXPECT_EQ(server.recorded(), "+calwin32\n+clxwin32\nNWCallsInit\n-clxwin32\n-calwin32\n");
}

} // namespace

// In a process of its own: on Windows the drives are those that were there at its start.
ZV_TEST_ROLE(checkOutsideTheNtFamily) {
    const OtherPlatform other;
    return checkUnicodeSupport("F:") == kModuleLoadNotSent ? 0 : 1;
}

namespace {

TEST_F(Clients, AModuleThatCannotBeAskedForIsNotWaitedForAndTheFileGoes) {
    const test::NetworkDrives drives({{"F:", "\\\\SRV\\SYS", server.volume()}});
    server.play("NWCallsInit=1"); // so that Microsoft's stack is asked
    test::writeFile(server.resultFile(), "left behind");
    EXPECT_EQ(test::SelfProcess("checkOutsideTheNtFamily").join(), 0);
    EXPECT_FALSE(std::filesystem::exists(server.resultFile()));
    // The last request is that for the rights: the one for the module is never sent.
    EXPECT_TRUE(server.recorded().ends_with("ncp handle 0xE3 3 2 b| C8\n-nwapi32\n"));
}

} // namespace
} // namespace zv::netware

// End to end: the library in the VM, driven by method name, the desktop companions doing real I/O.
#include "JvmTest.h"
#include "LoopbackSocket.h"
#include "PHostDriver.h"
#include "PHostLibrary.h"
#include "TestSupport.h"
#include "WaitCounter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace std::chrono_literals;
constexpr auto kDeadline = 10s;

using kelmortest::callStatic;
using kelmortest::companionThreadsEnded;
using kelmortest::setProperty;
using Pty = kelmortest::PseudoTerminal;

// A key packet ("code:flags[:Base64]" records, by sendPacket) or a text (by sendText) typed to
// every open keyboard companion; how many took it.
int typeKeys(const char* how, const std::string& keys)
{
    return callStatic<int>(u"com.tavrel.piodevice.PKeyboard", how, "(Ljava/lang/String;)I", keys);
}

std::u16string u16(const std::string& ascii)
{
    return std::u16string(ascii.begin(), ascii.end());
}

class DeviceEndToEndJvmTest : public kelmortest::JvmTest {
protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        ASSERT_TRUE(PHostJvm::loadLibrary(kelmortest::libraryPath()));
        ASSERT_TRUE(m_library.isLoaded()) << m_library.errorText();
        m_baseRefs = PHostJvm::globalRefCount();
    }

    // A component attached as the platform attaches it, with its own connection.
    struct Session {
        Session(PHostLibrary& library, const char16_t* className, const char16_t* locale, bool russianNames)
            : component(std::make_unique<PHostComponent>(library, className, nullptr, &connection)),
              driver(*component, russianNames)
        {
            connection.setAndroidHelper(static_cast<IHostAndroidHelper*>(&PHostJvm::androidHelper()));
            EXPECT_TRUE(component->attach(locale));
        }
        // GetParameters' defaults, then the given settings; the id. A refusal fails the test.
        std::u16string open(const std::vector<std::pair<std::u16string, std::u16string>>& settings)
        {
            driver.getParameters();
            for (const auto& setting : settings) {
                if (!driver.setParameter(setting.first, setting.second))
                    ADD_FAILURE() << "SetParameter " << hostToUtf8(setting.first) << ": "
                                  << hostToUtf8(driver.lastError().text);
            }
            const std::u16string id = driver.open();
            if (id.empty())
                ADD_FAILURE() << "Open refused: " << hostToUtf8(driver.lastError().text);
            return id;
        }
        // Waits for count events; the failure output lists what came.
        ::testing::AssertionResult received(size_t count)
        {
            if (connection.waitForEvents(count, kDeadline) && connection.events().size() == count)
                return ::testing::AssertionSuccess();
            return ::testing::AssertionFailure() << "wanted " << count << " events, got:\n"
                                                 << describeEvents(connection.events());
        }
        PHostConnection connection;
        std::unique_ptr<PHostComponent> component;
        PHostDriver driver;
    };

    std::unique_ptr<Session> session(const char16_t* className = u"InputDevice",
                                     const char16_t* locale = u"en_US", bool russianNames = false)
    {
        return std::make_unique<Session>(m_library, className, locale, russianNames);
    }

    static void expectCodes(const std::vector<PHostExternalEvent>& events, const std::u16string& id,
                            const std::u16string& name, const std::vector<std::u16string>& codes)
    {
        ASSERT_EQ(events.size(), codes.size()) << describeEvents(events);
        for (size_t i = 0; i < codes.size(); ++i) {
            EXPECT_EQ(events[i].source, id);
            EXPECT_EQ(events[i].name, name);
            EXPECT_EQ(events[i].data, codes[i]) << i;
        }
    }

    PHostLibrary m_library{kelmortest::libraryPath()};
    long m_baseRefs = 0;
};

const std::string kGs1 = std::string("0104601234567890") + '\x1d' + "21ABC";

TEST_F(DeviceEndToEndJvmTest, serialScannerGivesOneEventPerCodeInOrderWhateverThePiecesOrTheFlood)
{
    Pty pty;
    setProperty("kelmor.serial.ports", pty.slave);
    auto host = session();
    const std::u16string id = host->open({{u"EquipmentType", u"InputDevice"}, {u"BluetoothDevice", u"1"}});

    for (const char* piece : {"ABC", "123\r\n", "ONE\r\nTWO\r\n", "THREE\r", "\nFOUR\r\n",
                              "0104601234567890\x1d", "21ABC\r\n"}) {
        ASSERT_TRUE(pty.send(piece));
        std::this_thread::sleep_for(2ms);  // lets the companion read the pieces apart
    }
    ASSERT_TRUE(host->received(6));
    expectCodes(host->connection.events(), id, u"Barcode", {u"ABC123", u"ONE", u"TWO", u"THREE", u"FOUR", u16(kGs1)});

    // A flood reaches a slow host whole and in order.
    host->connection.clear();
    host->connection.setEventDelay(std::chrono::microseconds(20));
    constexpr int kCodes = 5000;
    std::thread scanner([&] {  // blocks whenever the pty is full: the only queue is the kernel's
        std::string burst;
        for (int i = 0; i < kCodes; ++i)
            burst += std::to_string(100000 + i) + "\r\n";
        for (size_t at = 0; at < burst.size();) {
            const ssize_t sent = ::write(pty.master, burst.data() + at, std::min<size_t>(4096, burst.size() - at));
            if (sent <= 0)
                return;
            at += static_cast<size_t>(sent);
        }
    });
    const bool all = host->connection.waitForEvents(kCodes, kDeadline);
    scanner.join();
    ASSERT_TRUE(all) << host->connection.events().size();
    const auto events = host->connection.events();
    for (int i = 0; i < kCodes; ++i)
        ASSERT_EQ(events[i].data, u16(std::to_string(100000 + i)));

    EXPECT_TRUE(host->driver.close(id));
    EXPECT_TRUE(companionThreadsEnded());
}

TEST_F(DeviceEndToEndJvmTest, keyboardCodesEndedByAPauseOrByEnterGiveTheCodeWithItsGsOnce)
{
    auto host = session();
    const std::u16string id = host->open(
        {{u"EquipmentType", u"InputDevice"}, {u"BluetoothDevice", u"DEV_KEYBOARD"}, {u"Suffix", u"-1"}});
    // "1", GS by Alt held over 0 2 9, "2"; then the same with GS by Ctrl held over ].
    const std::string one = "8:1:MQ==;8:0:MQ==;", two = ";9:1:Mg==;9:0:Mg==";
    const std::string packets[] = {
        one + "57:1;7:1:MA==;7:0:MA==;9:1:Mg==;9:0:Mg==;16:1:OQ==;16:0:OQ==;57:0" + two,
        one + "113:1;72:1:XQ==;72:0:XQ==;113:0" + two};
    for (size_t sent = 1; sent <= 2; ++sent) {
        ASSERT_EQ(typeKeys("sendPacket", packets[sent - 1]), 1);
        ASSERT_TRUE(host->received(sent));
    }
    expectCodes(host->connection.events(), id, u"Barcode", {u"1\x1d" u"2", u"1\x1d" u"2"});
    EXPECT_TRUE(host->driver.close(id));

    // A scanner that ends its code with Enter, cut by either suffix the form offers for it.
    for (const char16_t* suffix : {u"3338", u"13"}) {
        host->connection.clear();
        const std::u16string cut = host->open(
            {{u"EquipmentType", u"InputDevice"}, {u"BluetoothDevice", u"DEV_KEYBOARD"}, {u"Suffix", suffix}});
        ASSERT_EQ(typeKeys("sendText", "4600000000001\r"), 1);
        ASSERT_TRUE(host->received(1)) << hostToUtf8(suffix);
        expectCodes(host->connection.events(), cut, u"Barcode", {u"4600000000001"});
        EXPECT_TRUE(host->driver.close(cut));
    }
}

TEST_F(DeviceEndToEndJvmTest, outputOptionsShapeTheEventUnderRussianNames)
{
    Pty pty;
    setProperty("kelmor.serial.ports", pty.slave);
    auto host = session(u"InputDevice", u"ru_RU", true);
    struct Case {
        std::vector<std::pair<std::u16string, std::u16string>> settings;
        std::string bytes;
        std::u16string name;
        std::vector<std::u16string> data;
    } cases[] = {
        {{{u"OutputDataType", u"1"}}, "Hello\r\n", u"ШтрихкодBase64", {u"SGVsbG8="}},
        {{{u"COMEncoding", u"Windows-1251"}}, "\xcf\xf0\xe8\xe2\xe5\xf2\r\n", u"Штрихкод", {u"Привет"}},
        // STX opens and ETX ends a code; a code without its prefix is dropped.
        {{{u"Prefix", u"2"}, {u"Suffix", u"3"}}, "\x02" "CODE1\x03junk\x03\x02" "CODE2\x03",
         u"Штрихкод", {u"CODE1", u"CODE2"}},
    };
    for (Case& c : cases) {
        host->connection.clear();
        c.settings.insert(c.settings.begin(), {{u"EquipmentType", u"СканерШтрихкода"},
                                               {u"BluetoothDevice", u"1"}});
        const std::u16string id = host->open(c.settings);
        ASSERT_TRUE(pty.send(c.bytes));
        ASSERT_TRUE(host->received(c.data.size())) << hostToUtf8(c.name);
        expectCodes(host->connection.events(), id, c.name, c.data);
        EXPECT_TRUE(host->driver.close(id));
    }
}

TEST_F(DeviceEndToEndJvmTest, withoutEquipmentTypeTheCodeSetsBadEventNameAndNoEventComes)
{
    Pty quiet, loud;
    setProperty("kelmor.serial.ports", quiet.slave + "," + loud.slave);
    auto host = session();
    const std::u16string unnamed = host->open({{u"BluetoothDevice", u"1"}});
    std::u16string text;
    bool secondEmpty = false;
    EXPECT_TRUE(host->driver.deviceTest(&text, &secondEmpty));
    EXPECT_EQ(text, u"Successfull connect");
    EXPECT_TRUE(secondEmpty);
    const std::u16string named = host->open({{u"EquipmentType", u"InputDevice"}, {u"BluetoothDevice", u"2"}});

    // The unnamed device's code goes first on its own thread; the named one's event proves
    // the library is past it only once the last error says so.
    ASSERT_TRUE(quiet.send("LOST\r\n"));
    EXPECT_TRUE(kelmortest::eventually([&] { return host->driver.lastError().text == u"bad event name"; }));
    EXPECT_EQ(host->driver.lastError().code, 100);
    ASSERT_TRUE(loud.send("SEEN\r\n"));
    ASSERT_TRUE(host->received(1));
    expectCodes(host->connection.events(), named, u"Barcode", {u"SEEN"});
}

TEST_F(DeviceEndToEndJvmTest, devicesOutliveTheirComponentUntilTheLastOneGoes)
{
    for (int round = 0; round < 2; ++round) {  // the second round proves everything came back
        // Lines of their own: A2, never read in the first round, must not reach the second.
        Pty first, second;
        setProperty("kelmor.serial.ports", first.slave + "," + second.slave);
        // The first attach connects Java and registers the library; a second adds no reference.
        auto a = session(u"InputDevice");
        const long connected = PHostJvm::globalRefCount();
        EXPECT_GE(connected, m_baseRefs + 2);
        EXPECT_TRUE(PHostJvm::androidHelper().callStaticBoolean(u"com.tavrel.strake.PLibLoader",
                                                                "isRegistered", "com_tavrel_Kelmor"));
        auto b = session(u"CardReaderDevice", u"ru_RU", true);
        EXPECT_EQ(PHostJvm::globalRefCount(), connected);
        // The Java logger's native resolves in the library: a link error would fail the call.
        callStatic(u"com.tavrel.strake.PLogger", "PLoggerWrite", "(JLjava/lang/String;)V", jlong(0), "from Java");
        const std::u16string idA = a->open({{u"EquipmentType", u"InputDevice"}, {u"BluetoothDevice", u"1"}});
        b->open({{u"EquipmentType", u"CardReaderDevice"}, {u"BluetoothDevice", u"2"}});
        ASSERT_TRUE(first.send("A1\r\n"));
        ASSERT_TRUE(a->received(1));

        // A's connection outlives A: a delivery to it would be recorded, and reported by ASan.
        a->component.reset();  // DestroyObject; the connection stays to be looked at
        ASSERT_TRUE(first.send("A2\r\n"));
        ASSERT_TRUE(second.send("B1\r\n"));
        ASSERT_TRUE(b->received(1));
        EXPECT_TRUE(b->driver.close(idA)) << "a device of a destroyed component stays closable";
        EXPECT_EQ(a->connection.events().size(), 1u) << describeEvents(a->connection.events());

        a.reset();
        b.reset();  // the last component: B's device goes with it
        EXPECT_TRUE(companionThreadsEnded());
        EXPECT_EQ(PHostJvm::globalRefCount(), m_baseRefs);
    }
}

// Deliveries race the destruction of the component that opened the device while another keeps
// the process state up: nothing reaches the freed object (ASan watches), nobody waits forever.
TEST_F(DeviceEndToEndJvmTest, deliveriesRacingComponentDestructionTouchNothingFreed)
{
    Pty pty;
    ASSERT_EQ(fcntl(pty.master, F_SETFL, fcntl(pty.master, F_GETFL) | O_NONBLOCK), 0);
    setProperty("kelmor.serial.ports", pty.slave);
    auto keeper = session(u"CardReaderDevice");
    for (int round = 0; round < 20; ++round) {
        auto doomed = session();
        const std::u16string id = doomed->open({{u"EquipmentType", u"InputDevice"}, {u"BluetoothDevice", u"1"}});
        std::atomic<bool> stop{false};
        std::thread scanner([&] {
            while (!stop)
                (void)::write(pty.master, "0123456789ABCDEFGH\r\n", 20);  // a full pty only refuses
        });
        ASSERT_TRUE(doomed->connection.waitForEvents(1, kDeadline));
        doomed->component.reset();
        stop = true;
        scanner.join();
        EXPECT_TRUE(keeper->driver.close(id));
    }
    EXPECT_TRUE(companionThreadsEnded());
}

// A wait that a deadlock would make endless: the run ends at once with the reason, as the
// threads that hang can neither be joined nor left behind.
void waitOrEnd(const kelmortest::WaitCounter& counter, long target, const char* what)
{
    if (counter.waitFor(target, kDeadline))
        return;
    std::fprintf(stderr, "FAILED: %s did not return within 10 s: a deadlock\n", what);
    std::fflush(stderr);
    std::_Exit(1);
}

const std::vector<std::pair<std::u16string, std::u16string>> kKeyboardSettings = {
    {u"EquipmentType", u"InputDevice"}, {u"BluetoothDevice", u"DEV_KEYBOARD"}, {u"Suffix", u"-1"}};
const std::vector<std::pair<std::u16string, std::u16string>> kSerialSettings = {
    {u"EquipmentType", u"InputDevice"}, {u"BluetoothDevice", u"1"}, {u"Suffix", u"13"}};

// The host's handler, on the delivering thread, makes and drops a component while another
// host thread destroys the component that delivers: both return. The delivering device is a
// companion's while another component keeps the process up, then the keyboard's, whose
// component is the last one and so closes it.
TEST_F(DeviceEndToEndJvmTest, handlerMakingAComponentWhileTheDeliveringOneIsDestroyedHangsNobody)
{
    Pty pty;
    setProperty("kelmor.serial.ports", pty.slave);
    for (const bool keyboard : {false, true}) {
        SCOPED_TRACE(keyboard ? "keyboard, last component" : "serial, another component alive");
        auto keeper = keyboard ? nullptr : session(u"CardReaderDevice");
        auto doomed = session();
        const std::u16string id = doomed->open(keyboard ? kKeyboardSettings : kSerialSettings);
        kelmortest::WaitCounter inside, destroying, returned;
        long made = 0, dropped = -1;
        doomed->connection.setEventHandler([&](const PHostExternalEvent&) {
            inside.add();
            destroying.waitFor(1);
            std::this_thread::sleep_for(100ms);  // the other thread is in DestroyObject by now
            IComponentBase* slot = nullptr;
            made = m_library.getClassObject(u"InputDevice", &slot);
            dropped = m_library.destroyObject(&slot);
            returned.add();
        });
        ASSERT_TRUE(keyboard ? typeKeys("sendText", "42") == 1 : pty.send("42\r"));
        ASSERT_TRUE(inside.waitFor(1, kDeadline));
        std::thread destroyer([&] {
            destroying.add();
            doomed->component.reset();
            returned.add();
        });
        waitOrEnd(returned, 2, "DestroyObject beside a handler that makes a component");
        destroyer.join();
        EXPECT_NE(made, 0);
        EXPECT_EQ(dropped, 0);
        EXPECT_EQ(inside.count(), 1);
        if (keeper) {
            EXPECT_TRUE(keeper->driver.close(id));
        }
    }
    EXPECT_TRUE(companionThreadsEnded());
    EXPECT_EQ(PHostJvm::globalRefCount(), m_baseRefs);
}

// Whatever the host's handler calls on the delivering thread answers as it would elsewhere,
// and the device goes on delivering, or stops once closed or left by its component.
TEST_F(DeviceEndToEndJvmTest, everyEntryPointCalledFromInsideTheHandlerAnswers)
{
    Pty pty;
    setProperty("kelmor.serial.ports", pty.slave);
    using Act = std::function<bool(Session& self, Session& other, const std::u16string& id)>;
    const Act close = [](Session& self, Session&, const std::u16string& id) { return self.driver.close(id); };
    const Act destroy = [](Session& self, Session&, const std::u16string&) { return self.component->destroy() == 0; };
    const Act make = [this](Session&, Session&, const std::u16string&) {
        IComponentBase* slot = nullptr;
        return m_library.getClassObject(u"CardReaderDevice", &slot) != 0 && m_library.destroyObject(&slot) == 0;
    };
    const Act openOther = [](Session&, Session& other, const std::u16string&) {
        const std::u16string opened = other.open({{u"EquipmentType", u"InputDevice"}, {u"BluetoothDevice", u"BROADCAST"},
                                                 {u"Action", u"com.tavrel.test.INSIDE"}, {u"Extra", u"code"}});
        return !opened.empty() && other.driver.close(opened);
    };
    const struct {
        const char* call;
        bool keyboard;
        bool stillDelivers;
        const Act& act;
    } cases[] = {
        {"Close of the delivering device", false, false, close},
        {"Close of the delivering keyboard", true, false, close},
        {"DestroyObject of the delivering component", false, false, destroy},
        {"DestroyObject of the delivering keyboard's component", true, false, destroy},
        {"GetClassObject and DestroyObject", false, true, make},
        {"Open of another component", true, true, openOther},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.call);
        auto other = session(u"CardReaderDevice");
        auto self = session();
        const std::u16string id = self->open(c.keyboard ? kKeyboardSettings : kSerialSettings);
        kelmortest::WaitCounter answered;
        bool answer = false;
        self->connection.setEventHandler([&](const PHostExternalEvent&) {
            if (answered.count() == 0)
                answer = c.act(*self, *other, id);
            answered.add();
        });
        auto send = [&] { return c.keyboard ? typeKeys("sendText", "7") == 1 : pty.send("7\r"); };
        ASSERT_TRUE(send());
        waitOrEnd(answered, 1, c.call);
        EXPECT_TRUE(answer);
        send();  // refused by a keyboard that is gone
        // Counted by the handler, whose last step it is: nothing of this scope is used after.
        EXPECT_EQ(answered.waitFor(2, c.stillDelivers ? kDeadline : 300ms), c.stillDelivers);
        // A device whose component went stays open until another one closes it.
        (self->component->isValid() ? self->driver : other->driver).close(id);
    }
    EXPECT_TRUE(companionThreadsEnded());
}

TEST_F(DeviceEndToEndJvmTest, openAThousandTimesReusesIdsAndLeavesNothingBehind)
{
    // Never accepted: the kernel keeps every connection open in the queue, and a peer that
    // hung up would end its device's reading.
    kelmortest::LoopbackSocket server(SOCK_STREAM);
    const unsigned short port = server.listenAny(2048);
    ASSERT_NE(port, 0);
    auto host = session();
    ASSERT_TRUE(host->driver.close(host->open({{u"EquipmentType", u"InputDevice"},
                                              {u"BluetoothDevice", u"tcp://127.0.0.1:" + u16(std::to_string(port))}})));
    long refs = 0;  // after the first round: class handles are cached once
    std::vector<std::u16string> firstIds;
    for (int round = 0; round < 10; ++round) {
        std::vector<std::u16string> ids;
        for (int i = 0; i < 100; ++i) {
            ids.push_back(host->driver.open());
            ASSERT_FALSE(ids.back().empty()) << hostToUtf8(host->driver.lastError().text);
        }
        for (const std::u16string& id : ids)
            ASSERT_TRUE(host->driver.close(id));
        if (round == 0) {
            firstIds = ids;
            ASSERT_TRUE(companionThreadsEnded());
            refs = PHostJvm::globalRefCount();
        }
        EXPECT_EQ(ids, firstIds) << "closed numbers are given again";
    }
    EXPECT_TRUE(companionThreadsEnded());
    EXPECT_EQ(PHostJvm::globalRefCount(), refs);
    EXPECT_EQ(host->component->memory().liveBlocks(), 0u);

    EXPECT_EQ(host->driver.open(), firstIds.front());
}

}

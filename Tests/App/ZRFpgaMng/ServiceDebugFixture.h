// The running service on a bus of the test's own, and an operator who calls it.
#pragma once

#include <optional>

#include "ServiceFixture.h"
#include "Support/BusClient.h"
#include "Support/WaitUntil.h"

constexpr char REPLY_OK[] = "{\"res\":0}";
constexpr char REPLY_FAILED[] = "{\"res\":-1}";

class ServiceDebug : public Service {
  protected:
    // Starts bus and service, the card's clock standing still, and waits for the method.
    void StartOnBus() {
        StartBus();
        StartStopped();
        m_operator.emplace(m_bus->Address());
        ASSERT_TRUE(WaitUntil([&] { return Call("PrintSwitch") == REPLY_OK; }, 10000));
    }

    static std::string CallBy(BusClient &caller, const std::string &command) {
        return caller.Call("org.FpgaMng.server", "/org/FpgaMng/object", "org.FpgaMng.interface",
                           "audio_dbus_method_FpgaMngDebug", command.c_str(), 10000);
    }

    // Calls the service: the text of its reply, or the name of the error.
    std::string Call(const std::string &command) { return CallBy(*m_operator, command); }

    // Calls the service, which answers `reply`; what it logged meanwhile.
    std::vector<std::string> Run(const std::string &command, const std::string &reply = REPLY_OK) {
        const std::size_t before = LogTexts().size();
        EXPECT_EQ(Call(command), reply) << command;
        const auto texts = LogTexts();
        return {texts.begin() + static_cast<std::ptrdiff_t>(std::min(before, texts.size())), texts.end()};
    }

    std::optional<BusClient> m_operator;
};

// Saving and loading state machines by the number of their messages: time a message, beside the bare bytes.
#include "bench/support/report.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/fsm/fsm.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace cairn;

constexpr int MESSAGES_A_MACHINE = 100;
constexpr int MESSAGES_A_HANDLER = 10;

E_FSM::Message makeMessage(int i) {
    E_FSM::Message message;
    const istring number = toIString(std::to_string(i));
    message.m_name = "DO_Animate";
    message.m_targetName = "::Room01::Door" + number;
    message.m_arguments = {"open" + number, "1"};
    message.m_objectArguments.resize(2);
    message.m_text = message.m_targetName + "->DO_Animate(open" + number + ", 1);";
    return message;
}

using Machines = std::vector<E_FSM>;

/// Machines that have `count` messages in all.
std::shared_ptr<Machines> makeMachines(int count) {
    auto machines = std::make_shared<Machines>();
    for (int i = 0; i < count; ++i) {
        if (i % MESSAGES_A_MACHINE == 0)
            machines->emplace_back(nullptr, true, true).addState("idle");
        const int handler = i % MESSAGES_A_MACHINE / MESSAGES_A_HANDLER;
        machines->back()
            .createMessageHandler(toIString("Handler" + std::to_string(handler)))
            .m_sendOnState["idle"]
            .push_back(makeMessage(i));
    }
    return machines;
}

std::size_t save(const Machines& machines, F_MemoryFile& file) {
    for (const E_FSM& machine : machines)
        machine.save(file);
    return file.getSize();
}

} // namespace

static void measure(cairn::bench::Report& report) {
    bench::keepFreedMemory();
    for (const int n : bench::sizes({1000, 10000, 100000})) {
        const std::shared_ptr<Machines> machines = makeMachines(n);
        F_MemoryFile file;
        const std::size_t size = save(*machines, file);
        const auto* const bytes = static_cast<const unsigned char*>(file.getAddress());
        const auto image = std::make_shared<const std::vector<unsigned char>>(bytes, bytes + size);
        const auto copyBytes = [image, to = std::make_shared<std::vector<unsigned char>>(size)] {
            std::memcpy(to->data(), image->data(), image->size());
            benchmark::DoNotOptimize(to->data());
            return image->size();
        };
        report.add("save", "memcpy of the bytes", n, copyBytes);
        report.add("save", "E_FSM", n, [machines] {
            F_MemoryFile out;
            return save(*machines, out);
        });
        report.add("load", "memcpy of the bytes", n, copyBytes);
        report.addTimed("load", "E_FSM", n, [image, count = machines->size()](bench::Watch& watch) {
            Machines loaded(count, E_FSM(nullptr, true, true));
            F_MemoryFile in(image->data(), image->size(), false);
            watch.timed([&] {
                for (E_FSM& machine : loaded)
                    machine.load(in);
            });
            return image->size() - in.getRemaining();
        });
    }
    report.limitGrowth("save", "E_FSM", 1.1);
    report.limitGrowth("load", "E_FSM", 1.1);
    report.reason("save", "E_FSM",
                  "messages of a thousand lie in the caches, those of a hundred thousand do not, as the "
                  "growth of the peer shows");
    report.reason("load", "E_FSM",
                  "messages of a thousand are made within the caches, those of a hundred thousand are not");
}

static const cairn::bench::Scene
    SCENE("fsm_record",
          "Saving and loading state machines by the number of their messages, beside a copy of the bytes.", measure);

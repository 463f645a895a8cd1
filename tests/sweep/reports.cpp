// SPDX-License-Identifier: Apache-2.0
// Prints what every block type says, and in the name of which function: first the pins it takes (inputs:outputs) and
// its words to others, then its parameters.
#include <cstdio>
#include <string>

#include "support/every_block.h"
#include "support/rig.h"

namespace {

// "LOG (<function>(): ,<line>), <message>" without the line, which may move, and on one line.
void print(int type, const std::string& report)
{
    const auto name = report.find('(') + 1, line = report.find(": ,", name), message = report.find("), ", line) + 2;
    std::string text = report.substr(name, line - name) + report.substr(message);
    for (std::size_t end; (end = text.find('\n')) != std::string::npos;)
        text.replace(end, 1, "\\n");
    std::printf("%d %s\n", type, text.c_str());
}

void print_pins(int type)
{
    std::string taken;
    int refused = 0;
    for (int inputs = 0; inputs <= 5; ++inputs)
        for (int outputs = 0; outputs <= 7; ++outputs)
            if (rig::Rig(type, inputs, outputs))
                taken += ' ' + std::to_string(inputs) + ':' + std::to_string(outputs);
            else
                ++refused;
    std::printf("%d takes%s\n", type, refused == 0 ? " any" : taken.c_str());
}

}  // namespace

int main()
{
    for (const rig::BlockCase& row : rig::every_block()) {
        rig::Log log;
        print_pins(row.type);
        if (!log.lines().empty())
            print(row.type, log.lines()[0]);
        log.clear();
        rig::Rig blk(row.type, row.inputs, row.outputs);
        if (!row.vector.empty())
            blk.set(row.vector);
        blk.update();
        blk.invoke();
        for (const std::string& report : log.lines())
            print(row.type, report);
    }
}

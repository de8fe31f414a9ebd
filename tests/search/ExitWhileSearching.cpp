// A process that exits while both searches run, without stopping them: the
// controller's destructor stops the engines before anything they use goes
// away. The exit must neither hang nor crash (a sanitizer run also catches a
// use after free here).
#include <cstdio>

#include "devsearch/DeviceSearch.h"
#include "support/FakeNetwork.h"

int main() {
    // Outlives the exit on purpose, held by a static: the engines' transfers use it.
    static auto* net = new testsupport::FakeNetwork;
    DeviceSearch* search = DeviceSearch::GetInstance();
    search->setStartIP("10.7.0.0");
    search->setEndIP("10.7.3.255");
    search->startSearch(true);
    search->startSearch(false);
    if (net->waitSent(20).size() < 20) {
        std::fprintf(stderr, "exit test: the searches sent nothing\n");
        return 1;
    }
    // The key's own factory again: the exit removes and deletes it.
    TransferFactoryMap::getInstance()->addFactory(kUDPTransferKey, registerUDPTransfer());
    return 0;
}

#include "transport/TransferFactory.h"

#include "transport/UDPTransfer.h"

ITransfer* UDPTransferFactory::createTransfer(int ipVersion) {
    return new UDPTransfer(ipVersion);
}

TransferFactoryMap* TransferFactoryMap::getInstance() {
    static TransferFactoryMap instance;
    return &instance;
}

TransferFactoryMap::~TransferFactoryMap() {
    OLMutexGuard guard(m_objLock, __FILE__, __LINE__);
    m_mapFactories.clear();
}

void TransferFactoryMap::addFactory(int key, ITransferFactory* factory) {
    OLMutexGuard guard(m_objLock, __FILE__, __LINE__);
    m_mapFactories[key] = factory;
}

void TransferFactoryMap::removeFactory(int key) {
    OLMutexGuard guard(m_objLock, __FILE__, __LINE__);
    auto it = m_mapFactories.find(key);
    if (it == m_mapFactories.end()) {
        return;
    }
    delete it->second;
    m_mapFactories.erase(it);
}

ITransferFactory* TransferFactoryMap::getFactory(int key) {
    OLMutexGuard guard(m_objLock, __FILE__, __LINE__);
    auto it = m_mapFactories.find(key);
    return it == m_mapFactories.end() ? nullptr : it->second;
}

TransferFactoryRegistrar::~TransferFactoryRegistrar() {
    try {
        TransferFactoryMap::getInstance()->removeFactory(m_nKey);
        if (m_bOwns) {
            m_pFactory = nullptr;
        }
    } catch (...) {
        // Nothing may leave a destructor that runs at process exit.
    }
}

ITransferFactory* registerUDPTransfer() {
    static TransferFactoryRegistrar registrar(
        kUDPTransferKey,
        [] {
            ITransferFactory* factory = new UDPTransferFactory();
            TransferFactoryMap::getInstance()->addFactory(kUDPTransferKey, factory);
            return factory;
        }(),
        true);
    return registrar.getFactory();
}

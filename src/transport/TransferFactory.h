#pragma once

#include <map>

#include "Product/Technic/OLMutex.h"
#include "transport/ITransfer.h"

// Makes transfers of one kind; the caller owns what createTransfer returns.
class ITransferFactory {
  public:
    virtual ~ITransferFactory() = default;
    virtual ITransfer* createTransfer(int ipVersion) = 0;
};

class UDPTransferFactory : public ITransferFactory {
  public:
    ITransfer* createTransfer(int ipVersion) override;
};

// Key of the datagram transfer, the only kind there is.
constexpr int kUDPTransferKey = 1;

// Process-wide map from key to factory, built on first use. It owns the
// factories: removeFactory deletes. Each operation holds the map's lock.
class TransferFactoryMap {
  public:
    static TransferFactoryMap* getInstance();

    // Stores the factory under the key; one already there is replaced, not deleted.
    void addFactory(int key, ITransferFactory* factory);
    // Deletes the factory under the key, if any, and erases the key.
    void removeFactory(int key);
    // The factory under the key, or null.
    ITransferFactory* getFactory(int key);

    TransferFactoryMap(const TransferFactoryMap&) = delete;
    TransferFactoryMap& operator=(const TransferFactoryMap&) = delete;

  private:
    TransferFactoryMap() = default;
    // Empties the map without deleting the factories still in it.
    ~TransferFactoryMap();

    std::map<int, ITransferFactory*> m_mapFactories;
    OLMutex m_objLock;
};

// Keeps a factory registered under a key until process exit; its destructor
// removes the key from the map (which deletes the factory) and, when it owns
// the factory, forgets its pointer.
class TransferFactoryRegistrar {
  public:
    TransferFactoryRegistrar(int key, ITransferFactory* factory, bool owns)
        : m_nKey(key), m_pFactory(factory), m_bOwns(owns) {}
    virtual ~TransferFactoryRegistrar();
    virtual ITransferFactory* getFactory() { return m_pFactory; }

    TransferFactoryRegistrar(const TransferFactoryRegistrar&) = delete;
    TransferFactoryRegistrar& operator=(const TransferFactoryRegistrar&) = delete;

  private:
    int m_nKey;
    ITransferFactory* m_pFactory;
    bool m_bOwns;
};

// Registers the datagram transfer factory under key 1 on the first call (it
// stays until process exit); every call returns that factory.
ITransferFactory* registerUDPTransfer();

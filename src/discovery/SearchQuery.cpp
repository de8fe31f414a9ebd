#include "discovery/SearchQuery.h"

#include <exception>

#include "protocol/CommandParam.h"
#include "protocol/ICommandProtocolParser.h"

bool buildSearchQuery(ICommandProtocolParser& parser, uint32_t commandId, uint16_t sequence,
                      CommandBuffer& out) {
    try {
        SafePointer<SDKCommandParam> query = makeSafePointer<SDKCommandParam>();
        query->m_objHead.nVersion = 1;
        query->m_objHead.nSequence = sequence;
        query->m_objHead.bFlagA = false;
        query->m_objHead.bFlagB = false;
        query->m_objHead.nCommandID = commandId;
        query->m_objHead.nContext = 0;
        const SafePointer<CommandParam> param(query);
        return parser.createCommand(param, out);
    } catch (const std::exception&) {
        // Only the pointer registry's limits throw here.
        return false;
    }
}

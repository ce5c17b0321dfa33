#pragma once

#include "clock/ClockFace.h"
#include "clock/ReaderConnection.h"
#include "dialogs/frmPunchInformation.h"
#include "platform/host/Host.h"
#include "platform/windows/OnDemand.h"
#include "store/DataEnvironment.h"

namespace Tavrel
{

/// The one place where a swipe becomes a punch.
class SwipeHandling
{
public:
    SwipeHandling(Host &host, ClockFace &face, ReaderConnection &connection,
                  DataEnvironment &environment, OnDemand<frmPunchInformation> &punchInformation);

    /// Looks at the reader once. When a card came it finds the name, shows the punch in the
    /// Punch Information window and stores it, in this order; the person sees the punch before
    /// it is stored. No card, a closed port and a card that the reader refused do nothing. A frame
    /// without the chosen track is a punch with an empty badge; so is a failure in the driver,
    /// which shows its own message box and passes for a read. A track that does not exist, and a
    /// failure of the window, show a message box with the description, and nothing is stored.
    ///
    /// A read that did not run, because another one is running, looks like a swipe to it: it
    /// must not be called from inside itself.
    void PollCard();

private:
    void punch(const QString &badgeNumber);

    Host &m_host;
    ClockFace &m_face;
    ReaderConnection &m_connection;
    DataEnvironment &m_environment;
    OnDemand<frmPunchInformation> &m_punchInformation;
};

} // namespace Tavrel

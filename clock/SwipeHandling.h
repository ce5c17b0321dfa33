#pragma once

#include "clock/ClockFace.h"
#include "clock/ReaderConnection.h"
#include "dialogs/frmPunchInformation.h"
#include "platform/host/Host.h"
#include "platform/windows/OnDemand.h"
#include "store/DataEnvironment.h"

namespace Tavrel
{

/// Turns swipes into punches. Every swipe is a punch: repeats are not recognised, so a card swiped
/// twice in a row is stored twice. Blanks in a badge number are already gone: Frames::parseTracks
/// drops them.
class SwipeHandling
{
public:
    SwipeHandling(Host &host, ClockFace &face, ReaderConnection &connection,
                  DataEnvironment &environment, OnDemand<frmPunchInformation> &punchInformation);

    /// Polls the reader once. If a card was read it looks up the name, shows the punch in the Punch
    /// Information window and stores it, in this order, so that the person sees the punch before it
    /// is stored. Does nothing if there is no card, the port is closed or the reader refused the
    /// card. A frame that lacks the chosen track is stored as a punch with an empty badge. So is a
    /// failure inside the driver, because the driver shows its own message box and then returns
    /// success. A track that does not exist, and a failure of the window, show a message box with
    /// the description, and nothing is stored.
    ///
    /// While Options is open, cards are read only if it was opened between two polls; if the click
    /// on Options was delivered during a poll, that poll lasts until Options is closed.
    ///
    /// Must not be called from inside itself: the inner read would return success without reading,
    /// which counts as a swipe.
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

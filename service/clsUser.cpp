#include "clsUser.h"

clsUser &User()
{
    static clsUser user;
    return user;
}

namespace ProgramWide {
void Reset()
{
    User() = clsUser{};
    sServiceURL.clear();
    bLoggedIn = false;
    bSaveLogin = false;
    sAutoIPList.clear();
    bSkipClosePrompt = false;
    sStartTime.clear();
}
} // namespace ProgramWide

#pragma once

// The program opens at most one file being sent and one file being received at a time, whichever
// private windows run them. One object of this class is shared by every window of the program.
class FileSlots {
public:
    bool claimUpload() { return claim(m_uploadOpen); }
    void releaseUpload() { m_uploadOpen = false; }
    bool claimDownload() { return claim(m_downloadOpen); }
    void releaseDownload() { m_downloadOpen = false; }

private:
    static bool claim(bool& open) {
        if (open)
            return false;
        open = true;
        return true;
    }
    bool m_uploadOpen = false;
    bool m_downloadOpen = false;
};

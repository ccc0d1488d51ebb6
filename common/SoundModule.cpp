// The audio back end, built as a module of its own: Qt Multimedia and the sound libraries under it
// are loaded only when the first sound plays, so a program that never plays one never carries them.
#include "common/Sounds.h"

#include <QSoundEffect>
#include <QUrl>

#include <map>
#include <memory>

namespace {

class SoundEffects final : public Sounds {
public:
    void play(const QString& waveFile) override {
        auto& player = m_byFile[waveFile];
        if (!player) {
            player = std::make_unique<QSoundEffect>();
            player->setSource(QUrl::fromLocalFile(waveFile));
        }
        player->play();
    }

private:
    std::map<QString, std::unique_ptr<QSoundEffect>> m_byFile;
};

} // namespace

extern "C" Q_DECL_EXPORT Sounds* quorvelCreateSounds() {
    return new SoundEffects;
}

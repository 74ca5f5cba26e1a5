#include "workbench/dialogs/new_volume_dialog.hpp"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>

#include "project/labels.hpp"
#include "volume/new_volume.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/messages/message_dialogs.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextTitle = 1064;
constexpr int kTextSize = 1065;
constexpr int kTextLabel = 1066;
constexpr int kTextCreate = 1067;
constexpr int kTextCancel = 1068;
constexpr int kTextZero = 1071;
constexpr int kTextBlockSize = 1072;
constexpr int kTextUntitled = 1287;
constexpr int kTextHfsPlus = 1383;

constexpr int kProposedMegabytes = 100;
constexpr std::uint32_t kBlockStep = 512;

class NewVolumeDialog final : public FormDialog {
  public:
    NewVolumeDialog(bool isHfsPlus, Language language, QWidget* owner)
        : FormDialog("newvolume", Words(kTextTitle, language), language, owner) {
        label_ = addField("Label", kTextLabel, words(kTextUntitled));
        size_ = new QSpinBox(this);
        size_->setObjectName(QStringLiteral("Taille"));
        size_->setRange(kSmallestVolumeMb, kLargestHfsPlusVolumeMb);
        size_->setValue(kProposedMegabytes);
        addRow(words(kTextSize), size_);
        hfsPlus_ = addBox("HFSPlus", kTextHfsPlus, isHfsPlus);
        blocks_ = new QComboBox(this);
        blocks_->setObjectName(QStringLiteral("Bloc"));
        addRow(words(kTextBlockSize), blocks_);
        zero_ = addBox("Zero", kTextZero, false);
        addButton("OK", words(kTextCreate), Accepted)->setDefault(true);
        addButton("Cancel", words(kTextCancel), Rejected);
        connect(size_, &QSpinBox::valueChanged, this, [this] { fillBlocks(); });
        connect(hfsPlus_, &QCheckBox::toggled, this, [this] { fillBlocks(); });
        fillBlocks();
    }

    std::optional<FormatInput> ask() {
        while (exec() == Accepted) {
            const FormatInput input = value();
            Reason refusal = CheckLabel(input.label, input.isHfsPlus);
            if (!refusal)
                refusal = VolumeSizeRefusal(input.isHfsPlus, input.sizeMegabytes);
            if (!refusal)
                return input;
            (void)TMessOK(Words(refusal, language()), language(), 0, this).exec();
        }
        return std::nullopt;
    }

  private:
    [[nodiscard]] FormatInput value() const {
        FormatInput input;
        input.label = label_->text().toStdString();
        input.sizeMegabytes = static_cast<std::uint32_t>(size_->value());
        input.zeroAll = zero_->isChecked();
        input.isHfsPlus = hfsPlus_->isChecked();
        input.blockSize = input.isHfsPlus ? 0 : blocks_->currentData().toUInt();
        input.language = language();
        return input;
    }

    // The usual size first, then the smaller ones, of which small files waste less.
    void fillBlocks() {
        blocks_->clear();
        blocks_->setEnabled(!hfsPlus_->isChecked());
        const auto megabytes = static_cast<std::uint32_t>(size_->value());
        if (hfsPlus_->isChecked() || megabytes > kLargestHfsVolumeMb)
            return;
        const std::uint32_t smallest = SmallestHfsBlock(megabytes);
        for (std::uint32_t bytes = UsualHfsBlock(megabytes); bytes >= smallest;
             bytes = (bytes / 2 + kBlockStep - 1) / kBlockStep * kBlockStep) {
            blocks_->addItem(QString::number(bytes), bytes);
            if (bytes == kBlockStep)
                break;
        }
        if (blocks_->itemData(blocks_->count() - 1).toUInt() != smallest)
            blocks_->addItem(QString::number(smallest), smallest);
    }

    QLineEdit* label_ = nullptr;
    QSpinBox* size_ = nullptr;
    QCheckBox* hfsPlus_ = nullptr;
    QComboBox* blocks_ = nullptr;
    QCheckBox* zero_ = nullptr;
};

}  // namespace

std::optional<FormatInput> AskNewVolume(bool isHfsPlus, Language language, QWidget* owner) {
    return NewVolumeDialog(isHfsPlus, language, owner).ask();
}

}  // namespace vellmark

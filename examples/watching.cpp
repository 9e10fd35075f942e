// Watching: a view that shows a part of the tree asks whether it must be drawn again, and hears of no edit.

#include <db2/db2.h>

#include <cstdio>

namespace {

constexpr unsigned int kPartTypeId = 1;

class View
{
public:
    View(db2::WatchManager& watches, db2::Node* top) : watches_(watches), top_(top) { watches_.addWatch(top_); }
    View(const View&) = delete;
    View& operator=(const View&) = delete;
    ~View() { watches_.removeWatch(top_); }

    /// Called when the application is idle, say.
    void update()
    {
        if (watches_.hasWatchedNodeChanged(top_))
        {
            std::printf("drawing %ls\n", top_->getName().c_str());
            ++drawn_;
            watches_.resetWatch(top_); // armed again
        }
    }

    [[nodiscard]] int drawn() const { return drawn_; }

private:
    db2::WatchManager& watches_;
    db2::Node* top_;
    int drawn_ = 0;
};

} // namespace

int main()
{
    db2::initLibrary(nullptr, L"Watching 1.0");
    bool isRight = false;
    {
        db2::Module rig;
        rig.setId(L"Rig");
        db2::NodeRegistry registry;
        registry.registerNodeTemplate(new db2::NodeTemplate(L"Part", kPartTypeId, rig));

        db2::CoreManager core(registry, kPartTypeId);
        db2::WatchManager data(&core);
        db2::Node* arm = nullptr;
        db2::Node* hand = nullptr;
        db2::Node* lamp = nullptr;
        data.db_createNode(kPartTypeId, L"arm", nullptr, nullptr, &arm);
        data.db_createNode(kPartTypeId, L"hand", arm, nullptr, &hand);
        data.db_createNode(kPartTypeId, L"lamp", nullptr, nullptr, &lamp);

        View view(data, arm);
        data.db_renameNode(lamp, L"red lamp"); // elsewhere
        view.update();
        data.db_renameNode(hand, L"left hand"); // below the arm
        data.db_reparentNode(hand, lamp, nullptr, nullptr);
        view.update();                     // both at once
        data.db_renameNode(hand, L"hand"); // no longer below the arm
        view.update();
        isRight = view.drawn() == 1;
    }
    db2::termLibrary();
    return isRight ? 0 : 1;
}

// Draws the screenshots in tests/data and writes down what stands in them:
//     build/debug/bin/render_screens tests/data
// Run by hand, with the fonts that `./dev setup` installs; the pictures are kept in the tree, so that all machines read
// the same pixels.

#include "tools/render/Page.h"

#include <QGuiApplication>

#include <cmath>

static QString u(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

static bool settingsWindow(const QString &folder)
{
    Page page(780, 500, 1, QColor(246, 246, 248));
    page.box({0, 0, 780, 36}, QColor(228, 228, 232));
    const QColor lights[] = {QColor(236, 96, 88), QColor(240, 186, 62), QColor(94, 192, 86)};
    for (int i = 0; i < 3; ++i)
        page.box({14.0 + 20 * i, 12, 12, 12}, lights[i], 6);
    page.writeCentred({0, 0, 780, 36}, u("Backup Preferences"),
                      {.color = QColor(50, 50, 55), .size = 13, .bold = true});
    page.box({0, 36, 190, 464}, QColor(234, 235, 239));
    const char *sections[] = {"Overview",   "Schedule",  "Destinations", "Exclusions",
                              "Encryption", "Bandwidth", "History"};
    for (int i = 0; i < 7; ++i) {
        const bool selected = i == 2;
        if (selected)
            page.box({10, 50.0 + 34 * i, 170, 28}, QColor(32, 104, 220), 6);
        page.write(24, 69 + 34 * i, u(sections[i]), {.color = selected ? QColor(Qt::white) : QColor(45, 45, 50)});
    }
    page.write(216, 74, u("Destinations"), {.color = QColor(25, 25, 30), .size = 20, .bold = true});
    page.write(216, 98, u("Copies are written to every drive in this list, one after another."),
               {.color = QColor(105, 105, 112), .size = 12});
    const char *rows[][3] = {{"Lighthouse NAS", "Connected, 1.4 TB free", "Hourly"},
                             {"Travel drive", "Last seen Thursday 18:42", "When attached"},
                             {"Attic computer", "Password required", "Weekly"}};
    page.box({216, 116, 540, 152}, Qt::white, 8, QColor(214, 214, 220));
    for (int i = 0; i < 3; ++i) {
        const double y = 116 + 50.0 * i;
        if (i)
            page.rule(232, y, 740, y, QColor(226, 226, 232));
        page.box({232, y + 14, 22, 22}, QColor::fromHsv(200 - 60 * i, 140, 200), 5);
        page.write(268, y + 22, u(rows[i][0]), {.color = QColor(25, 25, 30), .bold = true});
        page.write(268, y + 39, u(rows[i][1]),
                   {.color = i == 2 ? QColor(190, 60, 40) : QColor(110, 110, 118), .size = 11});
        page.write(628, y + 31, u(rows[i][2]), {.color = QColor(60, 60, 66), .size = 12});
    }
    const char *switches[] = {"Verify each copy after writing", "Pause while running on battery",
                              "Notify me when a drive has been missing for ten days"};
    for (int i = 0; i < 3; ++i) {
        const double y = 296 + 34.0 * i;
        page.box({216, y, 34, 18}, i == 1 ? QColor(196, 196, 202) : QColor(52, 168, 92), 9);
        page.box({i == 1 ? 218.0 : 234.0, y + 2, 14, 14}, Qt::white, 7);
        page.write(262, y + 14, u(switches[i]), {.color = QColor(40, 40, 46)});
    }
    page.write(216, 424, u("Keep versions for"), {.color = QColor(40, 40, 46)});
    page.box({342, 406, 130, 26}, Qt::white, 5, QColor(200, 200, 206));
    page.write(352, 424, u("eighteen months"), {.color = QColor(40, 40, 46)});
    page.box({568, 452, 84, 28}, Qt::white, 6, QColor(200, 200, 206));
    page.writeCentred({568, 452, 84, 28}, u("Revert"), {.color = QColor(40, 40, 46)});
    page.box({664, 452, 92, 28}, QColor(32, 104, 220), 6);
    page.writeCentred({664, 452, 92, 28}, u("Save"), {.color = Qt::white, .bold = true});
    return page.save(folder, u("Screenshot 2026-03-05 at 14.07.09"));
}

static bool article(const QString &folder)
{
    Page page(860, 452, 1, Qt::white);
    page.box({0, 0, 860, 48}, QColor(34, 82, 72));
    page.write(28, 31, u("みなと通信"), {.color = Qt::white, .size = 18, .bold = true});
    const char *menu[] = {"ニュース", "暮らし", "文化", "天気"};
    for (int i = 0; i < 4; ++i)
        page.writeCentred({540 + 74.0 * i, 0, 74, 48}, u(menu[i]), {.color = QColor(214, 232, 226), .size = 13});
    page.write(60, 104, u("灯台の明かり、百年ぶりに改修へ"), {.color = QColor(20, 20, 20), .size = 27, .bold = true});
    page.write(60, 134, u("2026年3月6日　文・中村 千春"), {.color = QColor(120, 120, 120), .size = 12});
    page.rule(60, 150, 800, 150, QColor(220, 220, 220));
    const char *paragraphs[] = {"岬の先に立つ白い灯台が、この春から半年をかけて修理される。塩風で傷んだ外壁を塗り直し、"
                                "階段の手すりを新しいものに替える計画だ。町は工事の"
                                "あいだも見学を続けられるよう、足場に小さな通路を設けるという。",
                                "灯台が最初に海を照らしたのは大正の終わりごろ。当時の記録によれば、霧の深い夜には鐘を鳴"
                                "らして漁船に位置を知らせていた。その鐘はいまも資料館に"
                                "残り、毎年九月の祭りで子どもたちが鳴らしている。",
                                "「夜の海で光が見えると、帰ってきたと思えるんです」と話すのは、四十年以上船に乗ってきた"
                                "漁師の山本さん。改修後は電球を省エネルギー型に改め、"
                                "明るさを保ったまま電気代をおよそ三分の一に減らす見込みだ。"};
    double y = 184;
    for (const char *paragraph : paragraphs)
        y = page.writeWrapped(60, y, 520, 27, u(paragraph), {.color = QColor(35, 35, 35), .size = 15}) + 14;
    page.box({620, 172, 190, 190}, QColor(238, 244, 242), 8);
    page.write(638, 200, u("よく読まれている記事"), {.color = QColor(34, 82, 72), .size = 13, .bold = true});
    const char *popular[] = {"朝市に新しい屋台", "図書館の開館時間が変更", "桜の見ごろは来週末", "路線バスの時刻改正"};
    for (int i = 0; i < 4; ++i)
        page.write(638, 232 + 32 * i, QString::number(i + 1) + u("　") + u(popular[i]),
                   {.color = QColor(50, 50, 50), .size = 12});
    page.box({620, 384, 190, 40}, QColor(196, 84, 48), 6);
    page.writeCentred({620, 384, 190, 40}, u("メールで受け取る"), {.color = Qt::white, .size = 14, .bold = true});
    return page.save(folder, u("スクリーンショット 2026-03-06 09.32.41"));
}

static bool terminal(const QString &folder)
{
    Page page(820, 470, 1, QColor(24, 26, 31));
    page.box({0, 0, 820, 30}, QColor(44, 47, 54));
    page.writeCentred({0, 0, 820, 30}, u("nora@greenhouse: ~/src/weathervane"),
                      {.color = QColor(190, 194, 202), .size = 12});
    const QColor plain(212, 216, 222), green(138, 200, 110), red(236, 112, 106), yellow(226, 190, 100),
        blue(110, 170, 236);
    const struct {
        const char *text;
        QColor color;
    } lines[] = {
        {"$ make release", plain},
        {"[ 12%] Compiling src/anemometer.c", green},
        {"[ 37%] Compiling src/barometer.c", green},
        {"[ 62%] Compiling src/forecast/humidity.c", green},
        {"humidity.c:118: warning: comparison of unsigned expression is always true", yellow},
        {"[ 87%] Linking weathervane", green},
        {"$ ./weathervane --station harbour --interval 15", plain},
        {"Listening on port 8472, writing to /var/lib/weathervane/readings.log", plain},
        {"09:15:00  wind 6.2 m/s  pressure 1013.4 hPa  humidity 58%", blue},
        {"09:30:00  wind 7.9 m/s  pressure 1012.8 hPa  humidity 61%", blue},
        {"09:45:00  error: sensor timeout after 3 attempts", red},
        {"^C", plain},
        {"$ git status --short", plain},
        {" M src/forecast/humidity.c", red},
        {"?? notes/calibration.md", red},
        {"$ grep -rn \"calibrate\" include | head", plain},
        {"include/sensor.h:42:int sensor_calibrate(struct sensor *s, double offset);", plain},
        {"$", plain},
    };
    double y = 56;
    for (const auto &line : lines) {
        page.write(16, y, u(line.text), {.color = line.color, .size = 13, .mono = true});
        y += 22;
    }
    page.box({34, y - 34, 8, 16}, QColor(200, 204, 210));
    return page.save(folder, u("Quillmere 2026-03-07-18-20-33"));
}

static bool chat(const QString &folder)
{
    Page page(600, 440, 2, QColor(32, 34, 42));
    page.box({0, 0, 150, 440}, QColor(24, 25, 31));
    page.write(16, 28, u("Kestrel Team"), {.color = Qt::white, .size = 14, .bold = true});
    const char *rooms[] = {"# announcements", "# 雑談", "# field-trips", "# 写真", "# budget"};
    for (int i = 0; i < 5; ++i) {
        if (i == 3)
            page.box({8, 45.0 + 26 * i, 134, 22}, QColor(86, 98, 226), 5);
        page.write(16, 61 + 26 * i, u(rooms[i]),
                   {.color = i == 3 ? QColor(Qt::white) : QColor(160, 164, 176), .size = 12});
    }
    const struct {
        const char *name, *time, *text;
    } messages[] = {
        {"Hana", "8:51", "昨日の遠足の写真を共有フォルダに入れました。全部で百二十枚あります。"},
        {"Oliver", "8:54", "Wonderful, the one with the ferry is my favourite. May I print it?"},
        {"Hana", "8:55", "もちろん！元の画像は 24 megapixel なので、大きく印刷できますよ。"},
        {"Priya", "9:02", "Please remember the consent forms before anything goes on the website."},
        {"Kenta", "9:10", "同意書は受付に置いてあります。金曜日までに提出をお願いします。"},
    };
    double y = 34;
    int hue = 20;
    for (const auto &message : messages) {
        page.box({168, y - 14, 30, 30}, QColor::fromHsv(hue, 120, 190), 15);
        page.write(210, y, u(message.name), {.color = Qt::white, .size = 12, .bold = true});
        page.write(272, y, u(message.time), {.color = QColor(130, 134, 146), .size = 10});
        y = page.writeWrapped(210, y + 19, 370, 19, u(message.text), {.color = QColor(218, 221, 228), .size = 13}) + 18;
        hue += 67;
    }
    page.box({166, 394, 418, 32}, QColor(48, 51, 62), 8);
    page.write(180, 415, u("# 写真 へのメッセージ"), {.color = QColor(140, 144, 156), .size = 12});
    return page.save(folder, u("Screenshot 2026-03-08 at 21.15.02"));
}

static bool dashboard(const QString &folder)
{
    Page page(900, 560, 1, QColor(243, 245, 249));
    page.box({0, 0, 900, 52}, QColor(38, 50, 92));
    page.write(24, 33, u("Orchard Analytics"), {.color = Qt::white, .size = 18, .bold = true});
    const char *tabs[] = {"Harvest", "Shipments", "Cellar", "Invoices"};
    for (int i = 0; i < 4; ++i)
        page.writeCentred({460 + 104.0 * i, 0, 104, 52}, u(tabs[i]),
                          {.color = i ? QColor(180, 190, 220) : QColor(Qt::white), .size = 13, .bold = i == 0});
    const struct {
        const char *label, *value, *change;
        QColor color;
    } cards[] = {
        {"Apples picked", "18,240 kg", "+12% since Monday", QColor(206, 66, 60)},
        {"Crates shipped", "1,395", "27 waiting for pickup", QColor(40, 128, 96)},
        {"Average sugar", "13.8 Brix", "within target range", QColor(196, 134, 30)},
    };
    for (int i = 0; i < 3; ++i) {
        const double x = 24 + 288.0 * i;
        page.box({x, 76, 272, 108}, cards[i].color, 10);
        page.write(x + 18, 104, u(cards[i].label), {.color = QColor(255, 255, 255, 230), .size = 13});
        page.write(x + 18, 142, u(cards[i].value), {.color = Qt::white, .size = 28, .bold = true});
        page.write(x + 18, 168, u(cards[i].change), {.color = QColor(255, 255, 255, 230), .size = 12});
    }
    page.box({24, 208, 500, 328}, Qt::white, 10, QColor(222, 226, 234));
    page.write(44, 238, u("Weekly yield by variety"), {.color = QColor(30, 36, 56), .size = 15, .bold = true});
    const char *days[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    for (int i = 0; i < 5; ++i) {
        page.rule(84, 490 - 56 * i, 504, 490 - 56 * i, QColor(228, 231, 238));
        page.write(44, 494 - 56 * i, QString::number(i * 500), {.color = QColor(120, 126, 140), .size = 11});
    }
    QPolygonF first, second;
    for (int i = 0; i < 7; ++i) {
        page.write(92 + 62 * i, 512, u(days[i]), {.color = QColor(120, 126, 140), .size = 11});
        first << QPointF(104 + 62 * i, 420 - 70 * std::sin(i * 0.8) - 8 * i);
        second << QPointF(104 + 62 * i, 450 - 40 * std::cos(i * 0.9));
    }
    page.curve(first, QColor(206, 66, 60));
    page.curve(second, QColor(40, 128, 96));
    page.write(330, 238, u("Bramley"), {.color = QColor(206, 66, 60), .size = 12, .bold = true});
    page.write(410, 238, u("Discovery"), {.color = QColor(40, 128, 96), .size = 12, .bold = true});
    page.box({540, 208, 336, 328}, Qt::white, 10, QColor(222, 226, 234));
    page.write(560, 238, u("Recent orders"), {.color = QColor(30, 36, 56), .size = 15, .bold = true});
    const char *orders[][3] = {
        {"Foxglove Bakery", "40 crates", "Paid"},       {"Mill Lane School", "12 crates", "Pending"},
        {"Harbour Cider Works", "210 crates", "Paid"},  {"Thistle and Sons", "8 crates", "Overdue"},
        {"Sunday Farmers Market", "65 crates", "Paid"}, {"Juniper Hotel", "18 crates", "Pending"}};
    for (int i = 0; i < 6; ++i) {
        const double y = 272 + 44.0 * i;
        const QColor badge = orders[i][2][0] == 'O'
                                 ? QColor(204, 58, 54)
                                 : (orders[i][2][1] == 'a' ? QColor(44, 140, 84) : QColor(150, 154, 166));
        page.write(560, y, u(orders[i][0]), {.color = QColor(36, 42, 60), .size = 13});
        page.write(560, y + 17, u(orders[i][1]), {.color = QColor(120, 126, 140), .size = 11});
        page.box({786, y - 12, 72, 22}, badge, 11);
        page.writeCentred({786, y - 12, 72, 22}, u(orders[i][2]), {.color = Qt::white, .size = 11, .bold = true});
    }
    return page.save(folder, u("Screenshot 2026-03-09 at 08.44.57"));
}

static bool fileList(const QString &folder)
{
    Page page(720, 420, 1, QColor(38, 40, 44));
    page.box({0, 0, 720, 38}, QColor(52, 54, 60));
    page.writeCentred({0, 0, 720, 38}, u("書類 ― 共有フォルダ"),
                      {.color = QColor(230, 230, 234), .size = 13, .bold = true});
    page.box({0, 38, 720, 26}, QColor(46, 48, 53));
    const double columns[] = {24, 380, 560};
    const char *heads[] = {"名前", "変更日", "サイズ"};
    for (int i = 0; i < 3; ++i)
        page.write(columns[i], 56, u(heads[i]), {.color = QColor(164, 168, 176), .size = 12});
    const char *rows[][3] = {
        {"会議室の予約表.xlsx", "3月2日 16:05", "48 KB"},        {"契約書の下書き.docx", "2月27日 11:30", "112 KB"},
        {"春の新商品カタログ.pdf", "2月25日 09:48", "8.3 MB"},   {"避難訓練の手順.txt", "2月19日 13:12", "6 KB"},
        {"請求書番号一覧.csv", "2月16日 17:55", "21 KB"},        {"社員旅行の集合写真.jpg", "1月30日 20:01", "4.7 MB"},
        {"作業日報テンプレート.docx", "1月22日 08:40", "35 KB"}, {"倉庫の在庫確認.xlsx", "1月15日 14:26", "77 KB"}};
    for (int i = 0; i < 8; ++i) {
        const double y = 64 + 38.0 * i;
        const bool selected = i == 3;
        if (selected)
            page.box({8, y + 3, 704, 32}, QColor(20, 110, 190), 6);
        for (int c = 0; c < 3; ++c)
            page.write(columns[c], y + 25, u(rows[i][c]),
                       {.color = selected ? QColor(Qt::white) : (c ? QColor(168, 172, 180) : QColor(226, 228, 232)),
                        .size = 14});
    }
    page.rule(0, 384, 720, 384, QColor(64, 66, 72));
    page.write(24, 407, u("8 項目中 1 項目を選択、空き容量 62.5 GB"), {.color = QColor(164, 168, 176), .size = 12});
    return page.save(folder, u("スクリーンショット 2026-03-10 17.28.16"));
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc != 2) {
        qCritical("usage: render-screens FOLDER");
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[1]);
    bool ok = true;
    for (const auto screen : {&settingsWindow, &article, &terminal, &chat, &dashboard, &fileList})
        ok = screen(folder) && ok;
    return ok ? 0 : 1;
}

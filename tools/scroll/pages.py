"""Pages that behave as real ones do: PAGES has for each name what makes its HTML."""
import random
from urllib.parse import quote

WORDS = ("alpha river stone under bright table seven lantern quick meadow paper window garden silver thought carry "
         "長い ページ 撮影 number of and the with from 12 48").split()
STYLE = "body{margin:0;font:15px/20px sans-serif}p{margin:0 20px 12px}"


def html(body, style=""):
    return f"<!doctype html><meta charset=utf-8><title>page</title><style>{STYLE}{style}</style>{body}"


def words(chance, count):
    return " ".join(chance.choice(WORDS) for _ in range(count))


def paragraphs(count, seed=1, length=(8, 60)):
    chance = random.Random(seed)
    return "".join(f"<p>{i}. {words(chance, chance.randint(*length))}</p>" for i in range(count))


def drawing(number, height, width=600):
    bars = "".join(f"<rect x='{(j * 97 + number * 31) % width}' y='{j * height // 12}' height='{height // 14 + 1}' "
                   f"width='{40 + (j * 53 + number * 17) % 200}' fill='hsl({(number * 67 + j * 29) % 360},60%,50%)'/>"
                   for j in range(12))
    return f"<svg xmlns='http://www.w3.org/2000/svg' style='display:block' width='{width}' height='{height}'>{bars}</svg>"


def late(delay, has_room, is_anchored=True):
    """Pictures that load once they come into view."""
    chance, body = random.Random(3), ""
    for i in range(14):
        body += paragraphs(chance.randint(2, 4), 100 + i)
        height = chance.choice((140, 220, 300, 338))
        room = f"min-height:{height}px" if has_room else ""
        body += f"<div class=late style='{room}' data-drawing=\"{quote(drawing(i, height))}\"></div>"
    style = ".late{margin:0 20px 12px;background:#ddd}" + ("" if is_anchored else "body{overflow-anchor:none}")
    return html(body + paragraphs(6, 7) + f"""<script>
        const seen = new IntersectionObserver(all => all.forEach(({{isIntersecting, target}}) => {{
            if (!isIntersecting) return
            seen.unobserve(target)
            setTimeout(() => {{ target.innerHTML = decodeURIComponent(target.dataset.drawing) }}, {delay})
        }}))
        addEventListener('load', () => document.querySelectorAll('.late').forEach(late => seen.observe(late)))
        </script>""", style)


def more(times, delay, says="Loading more…"):
    """A list that loads more when its end comes into view."""
    return html(f"<div id=list></div><div id=end>{says}</div><script>" + """
        let count = 0, loads = 0, busy = false
        function add() {
            for (let i = 0; i < 25; ++i) {
                const item = document.createElement('p')
                item.textContent = `Item ${++count}:` + ' meadow river stone'.repeat(count * 7 % 13 + 1) + count * count
                list.append(item)
            }
        }
        function load() {
            if (busy) return
            if (loads >= TIMES) { end.textContent = 'The end'; return }
            busy = true
            ++loads
            setTimeout(() => {
                add()
                busy = false
                if (end.getBoundingClientRect().top < innerHeight) load()
            }, DELAY)
        }
        add()
        new IntersectionObserver(([seen]) => { if (seen.isIntersecting) load() }).observe(end)
        </script>""".replace("TIMES", str(times)).replace("DELAY", str(delay)),
                "#end{height:60px;line-height:60px;text-align:center}")


def moving(width, height):
    """A drawing that never rests."""
    return html(paragraphs(20, 5) + f"<canvas id=moving width={width} height={height}></canvas>" + paragraphs(70, 6) + """
        <script>
        const pen = moving.getContext('2d')
        let time = 0
        setInterval(() => {
            ++time
            for (let i = 0; i < 30; ++i) {
                pen.fillStyle = `hsl(${(time * 7 + i * 40) % 360}, 70%, 60%)`
                pen.fillRect((i * 53 + time * 5) % moving.width, (i * 37 + time * 3) % moving.height, 50, 40)
            }
        }, 33)
        </script>""", "canvas{float:right;margin:10px}")


def bar(style, text_after="", before="<div style='height:150px'>Intro</div>"):
    return html(f"{before}<header id=bar>Quillmere Home News</header>{paragraphs(120, 6)}{text_after}",
                "header{padding-left:20px;" + style + "}")


def momentum():
    """Goes on after the wheel has stopped."""
    return html(paragraphs(100, 9) + """<script>
        let speed = 0
        addEventListener('wheel', event => { event.preventDefault(); speed += event.deltaY / 6 }, {passive: false})
        function glide() {
            if (Math.abs(speed) > 0.5) scrollBy({top: speed, behavior: 'instant'})
            speed = Math.abs(speed) > 0.5 ? speed * 0.85 : 0
            requestAnimationFrame(glide)
        }
        glide()
        </script>""")


def busy():
    """Twice it computes for a while. What has not been painted by then stays white, or the view stands."""
    return html(paragraphs(140) + """<script>
        let next = 1500
        addEventListener('scroll', () => {
            if (scrollY < next) return
            next += 2500
            const end = Date.now() + 3500
            while (Date.now() < end) {}
        })
        </script>""")


SIDEBAR = ("<div style='height:180px;background:#cde'>Title</div><div style='display:flex;align-items:flex-start'>"
           "<nav style='width:230px;background:#eef;position:sticky;top:TOP'>"
           + "".join(f"<div style='padding:6px 10px'>Link {i} of a list</div>" for i in range(28))
           + "</nav><div style='flex:1'>" + paragraphs(90, 4, (8, 50)) + "</div></div>")
JAPANESE = "長いページを撮影して一枚の画像に見出しは固定表の行が続き余白のあと。、"

PAGES = {
    "plain": lambda: html(paragraphs(140)),
    "long": lambda: html(paragraphs(700, 2)),
    "fractions": lambda: html(paragraphs(110, 3), "p{font-size:13.37px;line-height:1.43;margin-bottom:.71em}"),
    "late60room": lambda: late(60, True),
    "late250room": lambda: late(250, True),
    "late450room": lambda: late(450, True),
    "late1500room": lambda: late(1500, True),
    "late60": lambda: late(60, False),
    "late250": lambda: late(250, False),
    "late450": lambda: late(450, False),
    "late1500": lambda: late(1500, False),
    "late450jumps": lambda: late(450, False, is_anchored=False),
    "more1": lambda: more(1, 500),
    "more5": lambda: more(5, 400),
    "more5silent": lambda: more(5, 300, ""),
    "more3slow": lambda: more(3, 1400),
    "sticky": lambda: bar("position:sticky;top:0;height:56px;line-height:56px;background:#246;color:#fff"),
    "stickywhite": lambda: bar("position:sticky;top:0;height:56px;line-height:56px;background:#fff"),
    "shrinks": lambda: bar("position:fixed;top:0;left:0;right:0;height:90px;background:#246;color:#fff;"
                           "transition:height .2s}.small{height:48px!important}body{padding-top:90px",
                           "<script>addEventListener('scroll', () => bar.classList.toggle('small', scrollY > 40))</script>",
                           ""),
    "footer": lambda: bar("position:fixed;bottom:0;left:0;right:0;height:40px;background:#246;color:#fff"),
    "sidebar": lambda: html(SIDEBAR.replace("TOP", "-300px")),
    "sidebarfixed": lambda: html(SIDEBAR.replace("TOP", "0")),
    "snap": lambda: html("".join(f"<section>{paragraphs(6, i)}</section>" for i in range(12)),
                         "html{scroll-snap-type:y mandatory}section{height:70vh;scroll-snap-align:start}"),
    "momentum": momentum,
    "busy": busy,
    "smooth": lambda: html(paragraphs(110, 12), "html{scroll-behavior:smooth}"),
    "parallax": lambda: html(
        "".join(paragraphs(12, i) + f"<div class=far style='background-image:url(\"data:image/svg+xml,"
                f"{quote(drawing(i, 900, 900))}\")'></div>" for i in range(6)) + paragraphs(30, 77),
        ".far{height:260px;background-attachment:fixed}"),
    "fixedback": lambda: html(paragraphs(110, 8), "html{background:linear-gradient(#fdd,#ddf) fixed}"),
    "canvas": lambda: moving(300, 250),
    "canvaswide": lambda: moving(850, 160),
    "nested": lambda: html(f"<h2>A frame that stays</h2><div id=inner>{paragraphs(80, 3)}</div>",
                           "body{overflow:hidden}#inner{position:absolute;left:150px;top:90px;right:80px;bottom:60px;"
                           "overflow:auto;background:#fff}"),
    "log": lambda: html("".join(f"<div>2026-03-0{1 + i // 200} 12:{i // 60 % 60:02}:{i % 60:02} worker[{100 + i % 7}] "
                                f"request served in {i * 37 % 911} ms</div>" for i in range(420)),
                        "div{font:13px/17px monospace;padding:0 12px}"),
    "zebra": lambda: html("".join(f"<div>Item delivered, {i * 7919 % 10007} left</div>" for i in range(260)),
                          "div{padding:2px 20px}div:nth-child(odd){background:#f0f4fa}"),
    "blank300": lambda: html(paragraphs(30) + "<div style='height:300px'></div>" + paragraphs(30, 2)),
    "blank2000": lambda: html(paragraphs(30) + "<div style='height:2000px'></div>" + paragraphs(30, 2)),
    "vertical": lambda: html("".join(f"<section>第{i}章　" + "".join(random.Random(i).choices(JAPANESE, k=260)) +
                                     "</section>" for i in range(11)),
                             "section{writing-mode:vertical-rl;height:420px;font-size:18px;line-height:30px;"
                             "margin:10px 20px}"),
    "hover": lambda: html("<table width=100%>" + "".join(f"<tr><td>{i}<td>{words(random.Random(i), 4)}<td>"
                                                         f"{i * 7919 % 10007}</tr>" for i in range(160)) + "</table>",
                          "tr:hover{background:#cdf}td{padding:3px 10px}"),
}

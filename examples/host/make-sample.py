#!/usr/bin/env python3
"""Writes sample.txt, the text that the host's word counter reads: some hundred KB of invented sentences in five
languages and four scripts. The same every time."""
import random

WORDS = {
    "en": ("the a one every some no", "river baker signal garden engineer letter window harbour winter engine lamp "
           "cloud answer market road thread string mountain island question", "carries opens finds follows measures "
           "remembers paints closes answers counts repairs crosses", "slowly again today without reason before noon at night"),
    "fr": ("le un chaque quelque", "fleuve boulanger signal jardin ingénieur fenêtre hiver moteur nuage été garçon "
           "théâtre cœur château élève", "porte ouvre trouve suit mesure répare traverse", "lentement déjà aujourd'hui à midi"),
    "de": ("der ein jeder kein", "Fluss Bäcker Garten Brief Hafen Motor Straße Übung Schlüssel Größe Vögel Öl",
           "trägt öffnet findet folgt misst zählt", "langsam wieder heute Abend früh"),
    "el": ("ο ένας κάθε", "ποταμός φούρναρης κήπος γράμμα παράθυρο λιμάνι χειμώνας σύννεφο δρόμος",
           "φέρνει ανοίγει βρίσκει ακολουθεί μετρά", "αργά πάλι σήμερα το μεσημέρι"),
    "ru": ("этот каждый один", "пекарь сад инженер письмо окно мотор фонарь рынок вопрос",
           "несёт открывает находит измеряет считает", "медленно снова сегодня ночью"),
}


def sentence(rng, language):
    article, noun, verb, end = (part.split() for part in WORDS[language])
    pick = lambda words: words[int(len(words) * rng.random() ** 1.6)]
    words = [pick(article), pick(noun), pick(verb), pick(article), pick(noun), pick(end)]
    if rng.random() < 0.3:
        words[3:3] = [str(rng.randrange(2, 1000))]
    text = " ".join(words)
    return text[0].upper() + text[1:] + rng.choice(".....!?")


def main():
    rng = random.Random(20)
    with open("sample.txt", "w", encoding="utf-8") as out:
        for _ in range(900):
            language = rng.choices(list(WORDS), weights=(6, 3, 2, 2, 2))[0]
            out.write(" ".join(sentence(rng, language) for _ in range(rng.randrange(3, 9))) + "\n\n")


main()

/* consumer.c - an application as the trades' programs are built: plain C, the public header,
 * linked with the import library, no GetProcAddress. It calls exports of several families,
 * among them a callback and a vtable the library calls back through, prints each answer and
 * exits 1 when one differs from the expected one. */
#include <stdio.h>
#include <string.h>

#include "tarngdi32.h"

static int failures;

static void check_text(const char *what, const char *got, const char *want) {
    int ok = got && strcmp(got, want) == 0;
    printf("%-28s %-24s %s\n", what, got ? got : "(null)", ok ? "ok" : "WRONG");
    if (!ok) failures++;
}

static void check_long(const char *what, long got, long want) {
    printf("%-28s %-24ld %s\n", what, got, got == want ? "ok" : "WRONG");
    if (got != want) failures++;
}

static void check_double(const char *what, double got, double want) {
    int ok = got == want;
    printf("%-28s %-24.6f %s\n", what, got, ok ? "ok" : "WRONG");
    if (!ok) failures++;
}

/* Sorts descending: the library must call it with the header's convention. */
static int32_t TARN_CALL descending(void *context, int32_t size, const void *a, const void *b) {
    (void)context;
    (void)size;
    return *(const int32_t *)b - *(const int32_t *)a;
}

int main(void) {
    char text[64];

    /* Numbers and dates */
    check_text("DoubleToString", DoubleToString(text, 1234.5, 10, 2), "   1234,50");
    check_double("StringToDouble", StringToDouble("1.234,56"), 1234.56);
    check_double("RoundKfm", RoundKfm(1.005), 1.01);
    check_text("TagzahlToString", TagzahlToString(text, TagzahlFromString("29.02.2024")), "29.02.2024");
    check_long("ld_Year", ld_Year(ld_FromStringEx("24.11.2026")), 2026);

    /* Sorting through a callback */
    {
        int32_t v[5] = {3, 9, 1, 7, 5};
        koQuickSortMemoryArray(v, 5, sizeof v[0], descending, 0);
        snprintf(text, sizeof text, "%d %d %d %d %d", v[0], v[1], v[2], v[3], v[4]);
        check_text("koQuickSortMemoryArray", text, "9 7 5 3 1");
    }

    /* Memo compression round trip */
    {
        const char memo[] = "Fliesenarbeiten im Bad, Fliesenarbeiten in der Kueche, 12,50 m2";
        unsigned char packed[256];
        char back[128] = {0};
        uint32_t n = koMemoCompress(memo, sizeof memo, packed, sizeof packed);
        uint32_t m = n ? koMemoExpand(packed, n, back, sizeof back) : 0;
        check_long("koMemoExpand length", (long)m, (long)sizeof memo);
        check_text("koMemoExpand text", back, memo);
    }

    /* XML tree */
    {
        static const char doc[] = "<Angebot><Kunde>Meier</Kunde><Summe>12,50</Summe></Angebot>";
        XML_Node *root = koXML_CreateTreeExAnsiString(doc, (int32_t)strlen(doc));
        XML_Node *kunde = root ? koXML_GetChildByName(root, "Kunde") : NULL;
        check_text("koXML_GetValue", kunde ? koXML_GetValue(kunde, text, sizeof text) : NULL,
                   "Meier");
        koXML_ReleaseTreeEx(root);
    }

    /* The cached file object, through its vtable */
    {
        IXFileCached *f = CreateIXFileCached();
        char line[32] = {0};
        long ok = f && f->lpVtbl->CreateTemp(f) && f->lpVtbl->WriteLine(f, "Zeile eins") &&
                  f->lpVtbl->Seek(f, 0) && f->lpVtbl->ReadLine(f, line, sizeof line);
        check_long("IXFileCached calls", ok, 1);
        check_text("IXFileCached ReadLine", line, "Zeile eins");
        if (f) f->lpVtbl->Release(f);
    }

    /* The listing writer, through its vtable; the double argument crosses the slot too */
    {
        ISprt_Protokoll *l = Create_Sprt_Protokoll();
        long counts = 0;
        if (l) {
            counts = l->lpVtbl->GetLinesPerPage(l) * 100 + l->lpVtbl->AddRef(l) * 10 +
                     l->lpVtbl->SetLeftMargin(l, 1.5) + l->lpVtbl->Release(l);
            l->lpVtbl->Release(l);
        }
        check_long("ISprt_Protokoll slots", counts, 6300 + 20 + 1 + 1);
    }

    /* The language layer's default translator, through its vtable */
    {
        IkoLanguageLayer *layer = NULL;
        char out[32] = {0};
        long ok = koQueryLanguageLayer(&layer) == 0 && layer &&
                  layer->lpVtbl->TranslateTextA(layer, -2, "Datei", out, sizeof out) == 0;
        check_long("IkoLanguageLayer calls", ok, 1);
        check_text("TranslateTextA(-2)", out, "TranslateTextA(-2,..)");
    }

    /* A server table's layout: five pointer-sized cells an entry */
    check_long("HKR_ServerEntry size", (long)sizeof(HKR_ServerEntry), (long)(5 * sizeof(void *)));

    /* Formula texts */
    check_double("koMultilineEval", koMultilineEval("Wand: 2,5*4=\nTuer: -0,9*2=\n"), 8.2);

    /* Code pages */
    {
        char oem[8] = {0};
        koAnsi2Oem("\xC4", oem);
        check_long("koAnsi2Oem", (unsigned char)oem[0], 0x8E);
    }

    printf("%s\n", failures ? "consumer: some answers were wrong" : "consumer: every answer as expected");
    return failures ? 1 : 0;
}

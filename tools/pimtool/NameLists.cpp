#include "NameLists.h"

#define LIST(name) \
  { name, static_cast<int>(sizeof(name) / sizeof(name[0])) }

namespace {

const wchar_t* const kEnglishFirst[] = {
    L"James",   L"Mary",      L"John",    L"Patricia", L"Robert",      L"Jennifer", L"Michael", L"Linda",
    L"William", L"Elizabeth", L"David",   L"Barbara",  L"Richard",     L"Susan",    L"Joseph",  L"Jessica",
    L"Thomas",  L"Sarah",     L"Charles", L"Karen",    L"Christopher", L"Nancy",    L"Daniel",  L"Lisa",
    L"Matthew", L"Betty",     L"Anthony", L"Margaret", L"Mark",        L"Sandra",   L"Donald",  L"Ashley",
    L"Steven",  L"Kimberly",  L"Paul",    L"Emily",    L"Andrew",      L"Donna",    L"Joshua",  L"Michelle",
    L"Kenneth", L"Carol",     L"Kevin",   L"Amanda",   L"Brian",       L"Melissa",  L"George",  L"Deborah",
    L"Timothy", L"Stephanie", L"Ronald",  L"Rebecca",  L"Jason",       L"Laura"};
const wchar_t* const kEnglishLast[] = {
    L"Smith",    L"Johnson", L"Williams", L"Brown",    L"Jones",    L"Miller",  L"Davis",    L"Wilson",
    L"Anderson", L"Taylor",  L"Thomas",   L"Moore",    L"Martin",   L"Jackson", L"Thompson", L"White",
    L"Harris",   L"Clark",   L"Lewis",    L"Robinson", L"Walker",   L"Young",   L"Allen",    L"King",
    L"Wright",   L"Scott",   L"Hill",     L"Green",    L"Adams",    L"Baker",   L"Nelson",   L"Carter",
    L"Mitchell", L"Roberts", L"Turner",   L"Phillips", L"Campbell", L"Parker",  L"Evans",    L"Edwards",
    L"Collins",  L"Stewart", L"Morris",   L"Murphy",   L"Cook",     L"Rogers",  L"Morgan",   L"Cooper",
    L"Peterson", L"Bailey",  L"Reed",     L"Kelly",    L"Howard",   L"Ward",    L"Cox",      L"Gray"};
const wchar_t* const kEnglishCities[] = {L"Boston", L"Chicago", L"Denver",  L"Seattle", L"Portland",
                                         L"Austin", L"Atlanta", L"Phoenix", L"Dallas",  L"Detroit"};
const wchar_t* const kEnglishStreets[] = {L"Main Street",         L"Oak Avenue", L"Maple Drive",
                                          L"Cedar Lane",          L"Park Road",  L"Elm Street",
                                          L"Lake View Boulevard", L"Hill Court"};
const wchar_t* const kEnglishStates[] = {L"MA", L"IL", L"CO", L"WA", L"OR", L"TX", L"GA", L"AZ", L"MI"};

const wchar_t* const kRussianFirst[] = {
    L"Александр", L"Сергей",  L"Дмитрий",  L"Андрей",  L"Алексей", L"Максим",   L"Евгений",   L"Иван",
    L"Михаил",    L"Николай", L"Владимир", L"Павел",   L"Олег",    L"Юрий",     L"Анна",      L"Мария",
    L"Елена",     L"Ольга",   L"Наталья",  L"Татьяна", L"Ирина",   L"Светлана", L"Екатерина", L"Юлия",
    L"Людмила",   L"Галина",  L"Надежда",  L"Вера",    L"Ксения",  L"Дарья"};
const wchar_t* const kRussianMiddle[] = {L"Александрович", L"Сергеевич",   L"Дмитриевич",   L"Иванович",
                                         L"Петрович",      L"Николаевич",  L"Владимирович", L"Михайлович",
                                         L"Александровна", L"Сергеевна",   L"Ивановна",     L"Петровна",
                                         L"Николаевна",    L"Владимировна"};
const wchar_t* const kRussianLast[] = {
    L"Иванов",  L"Смирнов", L"Кузнецов", L"Попов",    L"Васильев", L"Петров",    L"Соколов", L"Михайлов",
    L"Новиков", L"Фёдоров", L"Морозов",  L"Волков",   L"Алексеев", L"Лебедев",   L"Семёнов", L"Егоров",
    L"Павлов",  L"Козлов",  L"Степанов", L"Николаев", L"Орлов",    L"Андреев",   L"Макаров", L"Никитин",
    L"Захаров", L"Зайцев",  L"Соловьёв", L"Борисов",  L"Яковлев",  L"Григорьев", L"Романов", L"Воробьёв"};
const wchar_t* const kRussianCities[] = {L"Москва", L"Санкт-Петербург", L"Новосибирск", L"Екатеринбург",
                                         L"Казань", L"Нижний Новгород", L"Самара",      L"Омск"};
const wchar_t* const kRussianStreets[] = {L"ул. Ленина",  L"Тверская ул.", L"Невский пр.",    L"ул. Гагарина",
                                          L"Садовая ул.", L"ул. Мира",     L"Октябрьская ул."};
const wchar_t* const kRussianStates[] = {L"Московская обл.", L"Ленинградская обл.", L"Свердловская обл."};

const wchar_t* const kGermanFirst[] = {
    L"Lukas",  L"Leon",   L"Jonas",  L"Felix",  L"Maximilian", L"Paul",   L"Jürgen", L"Stefan", L"Wolfgang",
    L"Klaus",  L"Uwe",    L"Günter", L"Sophie", L"Marie",      L"Hannah", L"Lena",   L"Anna",   L"Lea",
    L"Ursula", L"Monika", L"Petra",  L"Sabine", L"Brigitte",   L"Jörg",   L"Dieter", L"Björn"};
const wchar_t* const kGermanLast[] = {
    L"Müller",   L"Schmidt",  L"Schneider", L"Fischer",    L"Weber",  L"Meyer",   L"Wagner",  L"Becker",
    L"Schulz",   L"Hoffmann", L"Schäfer",   L"Koch",       L"Bauer",  L"Richter", L"Klein",   L"Wolf",
    L"Schröder", L"Neumann",  L"Schwarz",   L"Zimmermann", L"Braun",  L"Krüger",  L"Hofmann", L"Hartmann",
    L"Lange",    L"Schmitt",  L"Werner",    L"Schmitz",    L"Krause", L"Meier",   L"Lehmann", L"Köhler"};
const wchar_t* const kGermanCities[] = {L"Berlin",     L"Hamburg",           L"München",
                                        L"Köln",       L"Frankfurt am Main", L"Stuttgart",
                                        L"Düsseldorf", L"Leipzig",           L"Dresden"};
const wchar_t* const kGermanStreets[] = {L"Hauptstraße", L"Bahnhofstraße", L"Gartenstraße", L"Schulstraße",
                                         L"Dorfstraße",  L"Lindenstraße",  L"Kirchweg"};
const wchar_t* const kGermanStates[] = {L"Bayern", L"Hessen", L"Sachsen", L"Berlin", L"Hamburg"};

const wchar_t* const kCompanyWords[] = {L"Acme Corporation",
                                        L"Northwind Traders",
                                        L"Blue Harbor Logistics",
                                        L"Summit Analytics",
                                        L"Greenfield Farms",
                                        L"Polar Express Freight",
                                        L"Ironbridge Engineering",
                                        L"Silverline Media",
                                        L"ООО Ромашка",
                                        L"АО Север",
                                        L"ЗАО Техностиль",
                                        L"ООО Вектор Плюс",
                                        L"Müller & Söhne GmbH",
                                        L"Bergmann AG",
                                        L"Nordlicht Versicherungen",
                                        L"Stadtwerke Oberhausen",
                                        L"Bright Pixel Studio",
                                        L"Redwood Dental Clinic",
                                        L"Orbit Telecom",
                                        L"Lakeside Bakery",
                                        L"Crestview Realty",
                                        L"Helix Pharma"};
const wchar_t* const kJobTitleWords[] = {L"Sales Manager",
                                         L"Software Engineer",
                                         L"Accountant",
                                         L"Director",
                                         L"Sales Representative",
                                         L"Project Manager",
                                         L"Nurse",
                                         L"Driver",
                                         L"Consultant",
                                         L"Chief Financial Officer",
                                         L"Менеджер",
                                         L"Главный инженер",
                                         L"Бухгалтер",
                                         L"Geschäftsführer",
                                         L"Ingenieurin",
                                         L"Vertriebsleiter"};
const wchar_t* const kDepartmentWords[] = {L"Sales",   L"Marketing",    L"Research",    L"Finance",
                                           L"Support", L"Отдел продаж", L"Buchhaltung", L"Logistics"};
const wchar_t* const kTitleWords[] = {L"Mr.", L"Mrs.", L"Ms.", L"Dr.", L"Prof."};
const wchar_t* const kSuffixWords[] = {L"Jr.", L"Sr.", L"II", L"III", L"PhD"};
const wchar_t* const kCategoryWords[] = {L"Business", L"Personal",      L"Family",    L"Friends",
                                         L"VIP",      L"Holiday Cards", L"Suppliers", L"Клиенты"};
const wchar_t* const kNoteWords[] = {L"Met at the trade fair.",       L"Prefers calls after 6 pm.",
                                     L"Allergic to peanuts.",         L"Owes me a book.",
                                     L"Звонить только на мобильный.", L"Ruft meistens vormittags an.",
                                     L"Birthday party every June.",   L"Ask about the new project.",
                                     L"Key holder for the office."};
const wchar_t* const kWebHostWords[] = {L"example.com",  L"example.org", L"example.net",
                                        L"test.example", L"пример.рф",   L"beispiel.de"};

}  // namespace

const NameCulture kEnglish = {LIST(kEnglishFirst),
                              LIST(kEnglishFirst),
                              LIST(kEnglishLast),
                              LIST(kEnglishCities),
                              LIST(kEnglishStreets),
                              LIST(kEnglishStates),
                              L"USA",
                              L"1"};
const NameCulture kRussian = {
    LIST(kRussianFirst),   LIST(kRussianMiddle), LIST(kRussianLast), LIST(kRussianCities),
    LIST(kRussianStreets), LIST(kRussianStates), L"Россия",          L"7"};
const NameCulture kGerman = {
    LIST(kGermanFirst),   LIST(kGermanFirst),  LIST(kGermanLast), LIST(kGermanCities),
    LIST(kGermanStreets), LIST(kGermanStates), L"Deutschland",    L"49"};

const WordList kCompanies = LIST(kCompanyWords);
const WordList kJobTitles = LIST(kJobTitleWords);
const WordList kDepartments = LIST(kDepartmentWords);
const WordList kTitles = LIST(kTitleWords);
const WordList kSuffixes = LIST(kSuffixWords);
const WordList kCategories = LIST(kCategoryWords);
const WordList kNoteLines = LIST(kNoteWords);
const WordList kWebHosts = LIST(kWebHostWords);

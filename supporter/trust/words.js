// The words in which two people compare on the telephone what their computers have agreed on. Each
// has four to seven letters, no two begin with the same four, none becomes another by changing,
// adding or leaving out one letter, and none is pronounced like another word. Their order is part
// of the protocol. The customer's side takes them from this file too, when it is built.

export const words = `
abacus ability ablaze aboard abode abrupt absence absorb academy account achieve acorn acquire
acrobat acrylic active actor actual adapt address adjust admiral adobe adrift adult advance advice
aerobic afford afraid again agency aglow agree ahead airbag aircrew airline airmail airport airtime
alarm album alchemy alert alike almanac almond aloe along alpaca alpha alpine already alto always
amateur amber ambush amount amulet amuse anagram analyst anchor ancient angle animal annual another
answer antenna anthem antique antler anvil anxious anybody anyone apology appear applaud apricot
apron aquatic arcade archery arctic arena argue armor army aroma arrange arrow article aside aspect
aspirin assist athlete atlas atom atrium attach attempt attic attract auburn auction audible august
author autumn avenue average aviator avocado avoid awaken award awesome awkward axis azure baboon
baby backup badge badly baggage bagpipe baker balance balcony ballad balsa bamboo banana bandage
banjo banner banquet barber bargain barley barn barrel basalt basic basket bassoon batch bathtub
baton battery bayou beacon beagle beam beard beauty beaver because bedroom bedtime beehive beeswax
before begin behind beige belief bench benefit between beyond bicycle billion bingo biology birch
bird biscuit bison bistro bitter blade blanket blast blender bless blink blister blond blossom
blouse blubber bluff bobcat bobsled body boiler bonfire bonnet bonus booklet booth borrow botany
bottle bouncer bouquet boxcar boxer bracket braid brave breakup breeze brevity brick brief bright
brittle broad bronco broom brother brunch brush bubble bucket budget buffalo buggy bugle builder
bulb bulge bulldog bumper bundle bunny burden burrito burst bushel busy butcher butler buttons
buzzard bypass cabaret cabbage cabin cable cactus cafe calcium caliber calm calypso camera camphor
canary cancel candle canine canoe canteen canvas canyon capable capsule caption caramel carbon
cargo carpet cartoon carve cascade cashew castle casual catalog catfish cavalry cavern caviar cedar
celery cello cement census central ceramic certain chair chalk chamber change chaos chariot cheese
chemist cherry chicken chief child chimney chisel choice chorus chowder chrome chubby chuckle cider
cinema circle citizen civic claim clarity class claw clean clerk clever client cliff climate clinic
clipper clock clone closet cloud clown clumsy cluster clutch coach coastal cobbler cobra cobweb
coconut coffee coil cola colony column comedy comfort comic common compass comrade concert confirm
connect console content convoy cookie cooler copilot copper copy corner correct cosmos costume
cottage cougar country couple cousin cowbell coyote crab cradle craft crane crater crawl crayon
cream credit cricket crisp critic crocus croquet crowd crucial cruiser crumb crystal cube cubicle
cuddle cuisine culture cupcake curator curb curfew curious curly cushion custard cutlery cyclone
dabble dahlia dainty dairy dancer dandy darling dashing data dawn dazzle dealer debate decade deck
declare decoy deep defend define defrost degree delay deliver delta deluxe demand denim dentist
depart depot deputy derby descend desktop destiny detail detect detour develop device devote
diagram dialog diamond diary dice diesel diet differ digest digital dignity dimple dinghy dinner
diploma direct disco dish dislike display distant ditch diverse divide dizzy doctor dodge dogwood
doll dolphin domain dome donate donkey donor donut dormant dosage double dozen dragon drama drapes
drastic drawing dress drill drink drizzle drone droplet drought drowsy drummer dryer duchess duffel
duke dungeon durable during dusk dustpan duty dwell dynamic eager eardrum early earmuff earnest
earring earth easy eatery ebony echo eclair eclipse ecology economy edible edition educate effect
effort elastic elated elbow elegant element elevate elite elope else embark emboss embrace emerald
emotion emperor employ empty emulate enable enact encore endless endorse enemy energy enforce
engage engine enhance enjoy enlarge enough ensure enter entice epic episode equal equip erase
errand escape escort essay essence estate eternal evening example excite exclaim excuse execute
exhibit exist exotic expand expect explain express extend extra eyebrow eyelash eyesore fabric
factory fade fairway faith fajita falcon fallen false family famous fancy fanfare fantasy farmer
fashion fasten fathom fatigue faucet feast feature federal feeling fence fennel fern ferret fertile
fetch fiber fiction fiddle field fiesta fifteen fighter figure filter final finch finger finish
firefly firm fitness fixture fjord flake flannel flash flavor fleece flicker flight flint float
floor florist floss fluent fluffy fluid flute foam focus foggy folder foliage follow fondue food
forbid forest forget fork formal fortune forum fossil foster foxhole foyer fragile frame frantic
freckle freedom freight fresh friday friend fringe frisbee frog frolic frost frown frozen frugal
fruit frying fudge fuel fumble furnace furry further fusion future fuzzy gadget galaxy gallery
gander garage garden gargle garland garment garnet gateway gather gauge gavel gazelle gearbox gecko
gelatin gemini general genius gentle genuine geology gesture geyser ghost giant gift giggle ginseng
giraffe girder give glacier glad glance glaze gleam glider glimmer glitter global gloomy glory
glossy glove glucose glue goal goblet gold gondola goose gossip gourmet govern gown grain grammar
granite grape gravity green griddle grocery groove grotto group grow grumpy guard guava guess guide
guitar gulf gumdrop gusto gutter gymnast habitat hacksaw hairpin half halibut hallway halogen
hammer hamster handbag happen harbor harmony harness harpoon harvest hatbox haunt haven hawk hazard
hazel health heavy hedge height helium helmet help herbal hermit hero herring hexagon hiccup
hickory hidden highway hiking hilltop himself hinder hinge hippo history hobby hockey hoist holiday
holster homage homely honest hoodie hoof hopeful horizon hornet hotel hound house hover however
howl human humid humming humor hundred hungry hunter hurdle hurl husband husky hustle hybrid
hydrant hyena hygiene iceberg icicle icon ideal igloo ignore iguana image imitate immune impact
impress impulse inbox include indeed indigo indoor inform inhale inherit initial inkpad inland
inning input inquiry inside inspire install intact intend invent invite involve inward iris ironic
islet isolate italic item itself ivory jackpot jaguar january jasmine jasper javelin jazz jelly
jersey jester jetty jewel jigsaw jingle jogger join joke jolt journal jovial joyful judo juggle
juice jukebox july jumbo june juniper justice karate kayaker keel keeper ketchup kettle keyhole
keynote keypad kick kidney kilt kimono kindle kiosk kitchen kite kitten kiwi knife knoll knuckle
koala label labor lace ladder lagging lagoon lamb lantern laptop large lasagna laser lasso lattice
laugh laundry laurel lava lavish lawyer layout lazy leader leaflet league leather lectern left
legacy legend legible legume leisure lemon lemur lend length lentil leopard lettuce level liberty
library license lichen life likely lilac lilypad limit limpet linden linear lion liquid list little
lizard llama loaf lobster local locker locust lofty logic logo lonely loop lotion lotus lounge
lower lucid luck luggage lullaby lunar lunch lung luxury lyric machine madam magenta magic magma
magnet magpie maiden mailbox major makeup mallet mammoth manage mango mansion manual maple marble
march margin marker maroon marvel mascot master matador matinee matrix mature maximum meadow
measure medium mellow melody melt member memory menace menu mercury merge merit mermaid message
method metric microbe midst migrate mild mimic mimosa mineral minimum minnow mint miracle mirror
mistake mixer mobile modern modify modular moment monarch monday monitor monsoon month moped morsel
mortar mosaic mother motor motto movie mowing muddy muffin mule mummy mural murmur museum music
musket mutual muzzle myrtle mystery myth napkin narrate nation navy nearby neat nebula nectar
needle neglect neither nephew nerve network neutral never newborn news nibble nickel niece nine
ninja noble nobody noise nomad noodle noon north nostril notable nothing notice novel nozzle nugget
number nurse nutmeg nylon oaken oasis oatmeal obey object oboe observe obtain obvious occupy ocean
octagon october odor offend office often oilcan okay okra olive olympic omelet onion online opal
opaque open opera opinion optical oracle orange orbit orchard order oregano organ orient origami
osmosis osprey ostrich otter ounce outback outdoor outfit outing outline output outside overall
owner oxygen oyster ozone pacific package padding padlock pagoda paint pajama palace pancake panda
panel panic panther papaya paper paprika papyrus parade parcel parent park parlor parrot parsley
partner passage pasta path patio patriot pattern paving payment peanut peasant pebble pecan peddler
pelican penalty pencil pendant penguin penny pension people pepper percent perfect perhaps person
petal petrol petunia phantom phoenix phone photo physics piano pickle picnic picture pierce piglet
pigment pilgrim pillow pinball pink pioneer piranha piston pitcher pivot pixel pizza placard planet
plaster playful plaza pledge plenty pliers plot plumber plunge plural plywood pocket podium poem
poetry polar police polka pollen polo polygon poncho pond pontoon pool popcorn popular porch potato
pottery poultry powder prairie precise predict prefer premium prepare present pretend price primary
prism private problem process produce program project promise pronoun proof proper proud provide
prune public pulley pulp pulse pumpkin pupil puppet pure purpose pursue push pyramid python quack
quaint quality quarrel queen query quest quiet quill quiver quiz quota raccoon radar radical raffle
rafter ragtime railway rainbow raisin rally ramble ramp ranch random ranger rapids rapport rarely
rascal rattle ravioli razor reach realize rebuild recall receipt recipe record recruit recycle
redeem reduce redwood reef referee reflect refresh refuge region regret regular reject rejoice
relate release relish remark remedy remind remote renew rent repair repeat reply report reptile
request rescue resist respect result retire retreat return reunion reveal revolve reward rhubarb
rhythm ribbon ribcage rickety ridge rigid rinse riot ripple risk ritual rival river roast robin
robot rodeo roller romance rooftop rooster rope rotten router rowboat royal rudder rugby ruin ruler
runner runway russet rustic saddle safari saffron saga sailor salad salmon salt salute sample
sandbox sapling sardine satchel satisfy saturn saucer sauna sausage savanna savory sawdust scallop
scarlet scatter scenic school science scissor scooter scope scout screen script scroll scrub scuba
seafood seagull search seaside second secret section sedan seed seesaw segment seizure seldom
select seminar senator sequoia series servant session setback several sewing shadow shaft shallow
shampoo shape shark shawl sheep shelf sheriff shield shimmer shine ship shiver shock shopper short
shovel shower shrimp shudder shuffle shutter sibling siege sierra signal silent silicon silk silver
similar sincere sinus siphon siren sister situate sixteen sizzle skate sketch skill skin skipper
skirt skunk skylark slab slalom sleeve slice slim slogan sloth slug slump small smart smile smoke
smooth smuggle snack snail snake snap sneaker sneeze snorkel snow soccer social soda soft soldier
solid solve someone sonata song sonic soprano sorbet sorrel soup south soybean spaniel speak
special speech spell sphere sphinx spicy spider spike spinach spiral splash split spoiler sponge
spoon spouse spray spread spring sprout spruce squash squeeze squirm stable stadium staff stage
stamp stand statue stay steam stencil stereo steward sticky sting stir stitch stomach stone stool
stop storm strange street strict strong strudel student stumble stunt sturdy subject sublime subtle
suburb subway success sudden suede suffix sugar suggest sultan summer sunburn sunrise sunset super
support supreme surface surgeon surname surplus survey suspect sustain swan sweater swift swivel
symptom synonym syrup system tabby tablet tackle tactic tadpole take talent talk tandem tangent
tanker target tarnish tartan taste tattoo taxi teacher teapot teddy teeth teller temper tenant
tender tennis tenor termite terrace test texture thanks theater theme theory thermal thick thimble
thing thirst thistle thorn thought thread throat thumb thunder tiara ticket tidy tiger timid tinsel
tiptoe tissue title toaster today toddler toggle token tomato tongue tonight toolbox topaz topic
topple tornado torrent total toucan tough tourist toward toyshop tractor trade traffic trail trap
trash travel treaty trek trend trestle trident trigger trim trinket tripod triumph trolley trophy
trouble trowel truck true truffle trumpet truth tryout tuesday tuition tulip tuna tundra tunic
tunnel turbine turf turkey turmoil turnip turret turtle tutor tuxedo tweed twelve twenty twice twig
twirl twist tycoon typhoon typical ukulele umpire uncle uncover under undo unfold unicorn uniform
unique unit unknown unless unlock unpack until unusual unveil unwrap upbeat update upgrade uphill
uphold upland uplift upload upper upright upset upside upstage upward urban urchin urgent useful
usher usual utensil utility vacant vaccine vacuum vague valet valiant valley valve vandal vanilla
vapor variety vast vault vector vehicle velcro velvet vendor venison venture veranda verdict verify
vermont version vespers vessel veteran vibrant victory video view village vinegar vintage vinyl
violet viper virtue visa visible visual vitamin vivid voice volcano volume vote vowel voyage wading
wafer wagon waiter walkway wallaby walnut walrus waltz wanted warbler warm warning warrior wash
wayside weasel weaving wedding weekend welcome welder welfare wetland wharf wheat whirl whisker
wicker widget width wildcat window winery wing winter wipe wisdom wobble wolf wombat wonder wooden
word worry woven wreath wren wrinkle wrist yacht yardage year yodel yoga yogurt young zealous zebra
zenith zephyr zigzag zinc zipper zircon zodiac zoology zoom
`.trim().split(/\s+/);
